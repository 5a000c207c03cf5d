/*
 * A small installer: copies a product, installs its update service and creates a link to its player, or
 * removes all three.
 *
 *     installer install PRODUCT FOLDER LINK
 *     installer remove FOLDER LINK
 *
 * PRODUCT holds subfolders only, among them "bin" with "player.exe" and "update_service.exe"; files beside
 * them are not copied reliably. The installer itself lies outside FOLDER.
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

/* Returns 0 if the path is too long. */
static int join(wchar_t* path, const wchar_t* folder, const wchar_t* name)
{
    const size_t length = wcslen(folder);
    const wchar_t* separator = length != 0 && folder[length - 1] == L'\\' ? L"" : L"\\";
    const int written = swprintf(path, MAX_PATH, L"%ls%ls%ls", folder, separator, name);

    return written > 0 && written < MAX_PATH;
}

static int install(const wchar_t* product, const wchar_t* folder, const wchar_t* link)
{
    wchar_t service[MAX_PATH], player[MAX_PATH];
    uint32_t error = 0, step = 0;
    uint32_t failures;
    int64_t code;

    if (!join(service, folder, L"bin\\update_service.exe") || !join(player, folder, L"bin\\player.exe"))
        return failed(L"naming the files", ERROR_FILENAME_EXCED_RANGE);

    /* copyDirEx() counts a missing destination as one failure. */
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
    wchar_t self[MAX_PATH];
    uint32_t failures = 0;
    int tries;
    int64_t code;
    DWORD length;

    /* copyDirEx() deletes the destination before it copies, and treats a file as an empty source. A temporary
     * empty folder would need cleanup, and another user could add files to it, so the source is the
     * installer's own file. */
    length = GetModuleFileNameW(NULL, self, MAX_PATH);
    if (length == 0 || length == MAX_PATH)
        return failed(L"finding the installer", (long)GetLastError());

    code = uninstallService();
    if (code != 0)
        return failed(L"the service", (long)code);
    DeleteFileW(link);
    for (tries = 0; tries < 10; ++tries) {
        failures = (uint32_t)copyDirEx(self, folder);
        if (failures == 0)
            break;
        Sleep(200); /* the service has stopped, but its process may not have ended yet */
    }
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
