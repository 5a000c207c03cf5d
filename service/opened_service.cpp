#include "service/opened_service.h"

#include "service/service_control.h"

namespace service {
namespace {

constexpr int kStopPasses = 15;
constexpr DWORD kStopPause = 1000; // milliseconds

} // namespace

std::int32_t openService(const wchar_t* name, DWORD access, win32::ServiceHandle& service) {
    const win32::ServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
    if (!manager)
        return kNoManager;
    service.reset(OpenServiceW(manager.get(), name, access));
    return service ? 0 : kNoService;
}

std::int32_t stopOpened(const win32::ServiceHandle& service) {
    SERVICE_STATUS status{};
    if (!ControlService(service.get(), SERVICE_CONTROL_STOP, &status)) {
        if (GetLastError() != ERROR_SERVICE_CANNOT_ACCEPT_CTRL ||
            status.dwCurrentState != SERVICE_STOP_PENDING)
            return kStopRefused;
        Sleep(kStopPause);
        return 0;
    }
    Sleep(kStopPause);
    for (int pass = 0; pass < kStopPasses; ++pass) {
        if (!QueryServiceStatus(service.get(), &status))
            return kQueryFailed;
        if (status.dwCurrentState != SERVICE_STOP_PENDING)
            return 0;
        Sleep(kStopPause);
    }
    return 0;
}

} // namespace service
