// A DLL whose static destructor sends an event, and stops and starts a download. At process exit, the system
// has ended all other threads by then, including those of WinHTTP.

#include "zelsyshelper.h"

#include <windows.h>

namespace {

const struct SendsAtEnd {
    ~SendsAtEnd() {
        const ULONGLONG begin = GetTickCount64();
        const auto result = sendAppEvent("at the end", "", "", "", "", "", "", "", "", "");
        stopDownloadFile();
        startDownloadFile(nullptr, 0, nullptr, nullptr, L"http://127.0.0.1/x", nullptr);
        if (result != 0 || GetTickCount64() - begin > 5000)
            TerminateProcess(GetCurrentProcess(), 1);
    }
} sendsAtEnd;

} // namespace
