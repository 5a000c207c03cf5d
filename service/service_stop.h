#pragma once

#include <cstdint>

#include <windows.h>

#include <winsvc.h>

namespace service {

/// The rights that stopping and deleting need.
inline constexpr DWORD kStopAccess = DELETE | SERVICE_STOP | SERVICE_QUERY_STATUS;

/// \brief Stops a service that was opened with \ref kStopAccess, and waits for up to 16 seconds.
/// \return 0, also if the stop is still pending; `kQueryFailed` (-3); `kStopRefused` (-4).
std::int32_t stopOpened(SC_HANDLE service);

} // namespace service
