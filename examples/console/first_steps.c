/*
 * First steps with the library, linked by its import library: remembers how often it was started and from
 * which version, in a property file, and looks at the machine.
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

    /* A missing file or key is told by a number that no counter has. */
    before = getIntFromPropertyFile(arguments[1], "Starts");
    if (before < 0 || before == ZELSYSHELPER_NO_FILE || before == ZELSYSHELPER_FILE_FAILED)
        before = 0;
    swprintf(starts, 16, L"%lld", (long long)(before + 1));
    setValueInPropertyFile(arguments[1], "Starts", starts);

    /* The result of setting does not tell whether the value was written: reading it back does. */
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
