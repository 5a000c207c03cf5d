#include "service_state.h"

#include "win32/service_handle.h"

#include <iterator>

namespace host {

ServiceState updateServiceState() {
    constexpr const wchar_t* kStates[] = {L"unknown", L"stopped",  L"starting", L"stopping",
                                          L"running", L"resuming", L"pausing",  L"paused"};
    const win32::ServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    if (!manager)
        return {kStates[0], GetLastError()};
    const win32::ServiceHandle service(
        OpenServiceW(manager.get(), L"Corvane.Update.Service", SERVICE_QUERY_STATUS));
    SERVICE_STATUS status{};
    if (!service || !QueryServiceStatus(service.get(), &status))
        return {kStates[0], GetLastError()};
    const DWORD state = status.dwCurrentState;
    return {kStates[state < std::size(kStates) ? state : 0], ERROR_SUCCESS};
}

} // namespace host
