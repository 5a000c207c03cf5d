#include "service/service_control.h"

#include "service/opened_service.h"

#include <algorithm>

namespace service {
namespace {

using win32::ServiceHandle;

constexpr DWORD kShortestPause = 1000, kLongestPause = 10 * 1000; // milliseconds

bool query(const ServiceHandle& service, SERVICE_STATUS_PROCESS& status) {
    DWORD needed = 0;
    return QueryServiceStatusEx(service.get(), SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status),
                                sizeof status, &needed) != FALSE;
}

void pause(const SERVICE_STATUS_PROCESS& status) {
    Sleep(std::clamp(status.dwWaitHint / 10, kShortestPause, kLongestPause));
}

/// Waits for a pending stop.
/// \return 0 once no stop is pending; otherwise a code.
std::int32_t waitForStop(const ServiceHandle& service, SERVICE_STATUS_PROCESS& status) {
    while (status.dwCurrentState == SERVICE_STOP_PENDING) {
        // Each pass starts a new measurement: only a single pass longer than the wait hint ends the wait.
        const DWORD begin = GetTickCount();
        const DWORD checkPoint = status.dwCheckPoint;
        pause(status);
        if (!query(service, status))
            return kStopQueryFailed;
        if (status.dwCurrentState == SERVICE_STOP_PENDING && status.dwCheckPoint <= checkPoint &&
            GetTickCount() - begin > status.dwWaitHint)
            return kStopStuck;
    }
    return 0;
}

/// Waits while a pending start makes progress. Does not report how the start ends.
void waitForStart(const ServiceHandle& service, SERVICE_STATUS_PROCESS& status) {
    DWORD begin = GetTickCount();
    DWORD checkPoint = status.dwCheckPoint;
    while (status.dwCurrentState == SERVICE_START_PENDING) {
        pause(status);
        if (!query(service, status))
            return;
        if (status.dwCheckPoint > checkPoint) {
            begin = GetTickCount();
            checkPoint = status.dwCheckPoint;
        } else if (GetTickCount() - begin > status.dwWaitHint) {
            return;
        }
    }
}

} // namespace

std::int32_t start() {
    ServiceHandle service;
    if (const std::int32_t code = openService(serviceName, SERVICE_ALL_ACCESS, service))
        return code;
    SERVICE_STATUS_PROCESS status{};
    if (!query(service, status))
        return kQueryFailed;
    if (status.dwCurrentState != SERVICE_STOPPED && status.dwCurrentState != SERVICE_STOP_PENDING)
        return 0;
    if (const std::int32_t code = waitForStop(service, status))
        return code;
    if (!StartServiceW(service.get(), 0, nullptr))
        return static_cast<std::int32_t>(GetLastError());
    if (!query(service, status))
        return kStartQueryFailed;
    waitForStart(service, status);
    return 0;
}

std::int32_t stop(const std::wstring& name) {
    if (!isPresent(name))
        return 0;
    // Closed on return: while a handle is open, a deleted service stays in the database, marked for deletion.
    ServiceHandle service;
    const std::int32_t code = openService(name.c_str(), kStopAccess, service);
    return code != 0 ? code : stopOpened(service);
}

} // namespace service
