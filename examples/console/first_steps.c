/*
 * First steps with the library, linked by its import library: counts its starts in a property file, stores a
 * version there, and checks whether the explorer runs.
 *
 *     first_steps FILE
 */
#include "zelsyshelper.h"

#include <stdio.h>

int wmain(int count, wchar_t** arguments)
{
    wchar_t version[16] = L"";
    wchar_t starts[16];
    int64_t before;

    if (count != 2) {
        fputws(L"usage: first_steps FILE\n", stderr);
        return 2;
    }

    /* A missing or unreadable key or file gives a failure value: this is the first start. */
    before = getIntFromPropertyFile(arguments[1], "Starts");
    if (before < 0 || before == ZELSYSHELPER_NO_FILE || before == ZELSYSHELPER_FILE_FAILED)
        before = 0;
    swprintf(starts, 16, L"%lld", (long long)(before + 1));
    setValueInPropertyFile(arguments[1], "Starts", starts);

    /* setValueInPropertyFile() does not report whether the value was written, so read it back. */
    if (getIntFromPropertyFile(arguments[1], "Starts") != before + 1) {
        fputws(L"the file cannot be written\n", stderr);
        return 1;
    }

    if (getValueFromPropertyFile(arguments[1], "Version", version, 16) == ZELSYSHELPER_NO_KEY)
        setValueInPropertyFile(arguments[1], "Version", L"4.1");

    wprintf(L"start %ls, version before: %ls\n", starts, version[0] != 0 ? version : L"none");
    wprintf(L"the explorer is %ls\n", isModuleLoaded("explorer.exe") ? L"running" : L"not running");
    return 0;
}
