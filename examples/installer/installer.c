/*
 * An installer in small: copies a product, runs its update service, puts a link to it, and takes all that
 * away.
 *
 *     installer install PRODUCT FOLDER LINK
 *     installer remove FOLDER LINK
 *
 * PRODUCT holds subfolders only, among them "bin" with "player.exe" and "update_service.exe"; files beside
 * them would not be copied reliably.
 */
#include "zelsyshelper.h"

#include <stdio.h>

#include <objbase.h>
#include <windows.h>

static int failed(const wchar_t* step, long number)
{
    fwprintf(stderr, L"%ls failed (%ld)\n", step, number);
    return 1;
}

static int install(const wchar_t* product, const wchar_t* folder, const wchar_t* link)
{
    wchar_t service[MAX_PATH], player[MAX_PATH];
    uint32_t error = 0, step = 0;
    uint32_t failures;
    int64_t code;

    swprintf(service, MAX_PATH, L"%ls\\bin\\update_service.exe", folder);
    swprintf(player, MAX_PATH, L"%ls\\bin\\player.exe", folder);

    /* A destination that is missing counts as one failure. */
    CreateDirectoryW(folder, NULL);
    failures = (uint32_t)copyDirEx(product, folder);
    if (failures != 0)
        return failed(L"copying", (long)failures);
    code = installService(service);
    if (code == 0)
        code = startService();
    if (code != 0)
        return failed(L"the service", (long)code);

    CoInitialize(NULL);
    createShellLink(player, link, L"Plays media", &error, &step);
    CoUninitialize();
    return step == 0 ? 0 : failed(L"the link", (long)error);
}

static int uninstall(const wchar_t* folder, const wchar_t* link)
{
    wchar_t temporary[MAX_PATH], empty[MAX_PATH];
    uint32_t failures = 0;
    int tries;
    int64_t code = uninstallService();

    if (code != 0)
        return failed(L"the service", (long)code);
    DeleteFileW(link);

    /* An empty folder in the place of the product takes everything away. */
    GetTempPathW(MAX_PATH, temporary);
    GetTempFileNameW(temporary, L"rm", 0, empty);
    DeleteFileW(empty);
    CreateDirectoryW(empty, NULL);
    for (tries = 0; tries < 10; ++tries) {
        failures = (uint32_t)copyDirEx(empty, folder);
        if (failures == 0)
            break;
        Sleep(200); /* the service has stopped, its process may have some way to go */
    }
    RemoveDirectoryW(empty);
    return failures == 0 ? 0 : failed(L"deleting", (long)failures);
}

int wmain(int count, wchar_t** arguments)
{
    if (count == 5 && wcscmp(arguments[1], L"install") == 0)
        return install(arguments[2], arguments[3], arguments[4]);
    if (count == 4 && wcscmp(arguments[1], L"remove") == 0)
        return uninstall(arguments[2], arguments[3]);
    fputws(L"usage: installer install PRODUCT FOLDER LINK\n       installer remove FOLDER LINK\n", stderr);
    return 2;
}
