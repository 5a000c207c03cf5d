#include <ipc/channel.h>
#include <ipc/channel_names.h>
#include <ipc/window_request_handler.h>
#include <zelsyshelper_load.hpp>

int main() {
    const zelsyshelper_load missing(L"C:\\no such.dll"), other(L"C:\\windows\\system32\\version.dll");
    if (missing || missing.error != ERROR_MOD_NOT_FOUND || other || other.missing == nullptr)
        return 1;
    bool isShown = false;
    ipc::CWindowRequestHandler handler([] { return HWND(); }, [&] { isShown = true; });
    ipc::CInterprocessCommunicationWin channel(ipc::instanceMutexName("outside"),
                                               ipc::pipeBaseName("outside"));
    channel.setRequestHandler(&handler);
    const zelsyshelper_load library(L"zelsyshelper.dll");
    return library && channel.startServer() == 0 && library.bringRuningAppToTop("outside") == 1 && isShown
               ? 42
               : 2;
}
