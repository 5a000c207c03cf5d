#pragma once

#include <cstdint>
#include <string>

namespace service {

/// \name The suite's update service
/// Writable: a program may name another service before its first call.
/// @{
extern const wchar_t* serviceName;
extern const wchar_t* serviceDisplayName;
extern const wchar_t* serviceDescription;
/// @}

/// Results of the functions below, in addition to 0 and Windows error numbers.
enum Code : std::int32_t {
    kNoManager = -1,         ///< OpenSCManagerW failed.
    kNoService = -2,         ///< OpenServiceW failed.
    kBadPath = -2,           ///< install: the path is empty or too long.
    kNoManagerToCreate = -3, ///< install: OpenSCManagerW failed.
    kQueryFailed = -3,       ///< start, stop: the state could not be queried.
    kDeleteFailed = -3,      ///< uninstall: DeleteService failed.
    kStopRefused = -4,       ///< stop: ControlService failed, and no stop is pending.
    kStopQueryFailed = -5,   ///< start: the state could not be queried while a stop was pending.
    kStopStuck = -6,         ///< start: a pending stop makes no progress.
    kStartQueryFailed = -8,  ///< start: the state could not be queried after StartServiceW.
};

// These functions use the service manager of this machine and block until they are done. Any thread may call
// them; only the service manager serialises concurrent calls.

/// \brief Returns true if a service of this name exists; false also if OpenSCManagerW or OpenServiceW fails.
bool isPresent(const std::wstring& name);

/// \brief Registers the update service, which the system starts at boot.
///
/// Retries for about two seconds while a deleted service of this name is still marked for deletion.
/// \param path The service's program without quotes, up to 2047 characters.
/// \return 0, \ref kBadPath, \ref kNoManagerToCreate, or the error of CreateServiceW, such as
///         `ERROR_SERVICE_EXISTS` (1073).
std::int32_t install(const std::wstring& path);

/// \brief Restores the update service's description.
/// \return 0, even if ChangeServiceConfig2W fails; \ref kNoManager; \ref kNoService.
std::int32_t update();

/// \brief Starts the update service.
///
/// Waits first for a pending stop, without an upper bound, and then while the start makes progress.
/// \return 0, also if the service was running or does not reach the running state; otherwise a code or the
///         error of StartServiceW.
std::int32_t start();

/// \brief Stops a service and waits for up to 16 seconds.
/// \return 0, also if `isPresent` returns false or the service is still stopping after that time; otherwise
///         a code.
std::int32_t stop(const std::wstring& name);

/// \brief Stops the update service and deletes it, even if it does not stop.
/// \return 0 or a code.
std::int32_t uninstall();

} // namespace service
