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
    wchar_t empty[MAX_PATH];
    uint32_t failures = 0;
    int tries;
    int64_t code;

    /* Copying an empty folder over the product deletes it. The empty folder is created beside the product,
     * where only those can write who can write the product: in %TEMP%, another user who knows or guesses the
     * name creates it first and has its content installed. */
    swprintf(empty, MAX_PATH, L"%ls.empty", folder);
    RemoveDirectoryW(empty); /* of an interrupted removal; fails if there is anything in it */
    if (!CreateDirectoryW(empty, NULL))
        return failed(L"creating an empty folder", (long)GetLastError());

    code = uninstallService();
    if (code != 0) {
        RemoveDirectoryW(empty);
        return failed(L"the service", (long)code);
    }
    DeleteFileW(link);
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
