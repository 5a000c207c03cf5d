#pragma once

#include "win32/service_handle.h"

#include <cstdint>

namespace service {

/// The rights that stopping and deleting need.
inline constexpr DWORD kStopAccess = DELETE | SERVICE_STOP | SERVICE_QUERY_STATUS;

/// \brief Opens a service through a service manager that is opened with SC_MANAGER_ALL_ACCESS.
/// \param access Rights for OpenServiceW.
/// \param[in,out] service Receives the handle. Must be empty, and stays empty on failure.
/// \return 0; `kNoManager` (-1); `kNoService` (-2).
std::int32_t openService(const wchar_t* name, DWORD access, win32::ServiceHandle& service);

/// \brief Stops a service that was opened with \ref kStopAccess, and waits for up to 16 seconds.
/// \return 0, also if the stop is still pending; `kQueryFailed` (-3); `kStopRefused` (-4).
std::int32_t stopOpened(const win32::ServiceHandle& service);

} // namespace service
