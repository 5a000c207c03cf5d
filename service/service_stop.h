#pragma once

#include <cstdint>

#include <windows.h>

#include <winsvc.h>

namespace service {

/// The rights that stopping and deleting need.
inline constexpr DWORD kStopAccess = DELETE | SERVICE_STOP | SERVICE_QUERY_STATUS;

/// \brief Stops a service that was opened with \ref kStopAccess, and waits for up to 16 seconds.
/// \return 0, also when the stop is still under way; -3 when the state cannot be found out; -4 when refused.
std::int32_t stopOpened(SC_HANDLE service);

} // namespace service
