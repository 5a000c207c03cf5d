#pragma once

#include <string>

#include <windows.h>

namespace host {

/// The state of the suite's update service.
struct ServiceState {
    const wchar_t* text; ///< "running", "stopped", "starting" and so on; "unknown" after an error.
    DWORD error;         ///< Why the service manager did not return the state, or ERROR_SUCCESS.
};

/// Queries the service manager. Requires no administrator rights.
ServiceState updateServiceState();

} // namespace host
