#include <ipc/channel.h>
#include <zelsyshelper_load.hpp>

int main() {
    const ipc::CInterprocessCommunicationWin channel(L"outside-mutex", L"outside-pipe");
    const zelsyshelper_load missing(L"C:\\no such.dll"), other(L"C:\\windows\\system32\\version.dll");
    if (missing || missing.error != ERROR_MOD_NOT_FOUND || other || other.missing == nullptr)
        return 1;
    const zelsyshelper_load library(L"zelsyshelper.dll");
    return library && library.isModuleLoaded("loaded.exe") == 1 ? 42 : 2;
}
