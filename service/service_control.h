#pragma once

#include <cstdint>
#include <string>

namespace service {

/// \name The suite's update service
/// Writable, so that a build may point them elsewhere before the first call.
/// @{
extern const wchar_t* serviceName;
extern const wchar_t* serviceDisplayName;
extern const wchar_t* serviceDescription;
/// @}

/// What the functions below return beside 0 and, where told, Windows error numbers.
enum Code : std::int32_t {
    kNoManager = -1,         ///< The service manager could not be opened.
    kNoService = -2,         ///< The service could not be opened.
    kBadPath = -2,           ///< Install: the path is empty or too long.
    kNoManagerToCreate = -3, ///< Install: the service manager could not be opened.
    kQueryFailed = -3,       ///< Start, stop: the state could not be found out.
    kDeleteFailed = -3,      ///< Uninstall: the service could not be deleted.
    kStopRefused = -4,       ///< Stop: refused, and no stop is under way.
    kStopQueryFailed = -5,   ///< Start: the state could not be found out while waiting for a stop.
    kStopStuck = -6,         ///< Start: a stop that is under way does not get on.
    kStartQueryFailed = -8,  ///< Start: the state could not be found out after the start.
};

// All of these work on the service manager of this machine, block until they are done, and may be called from
// any thread; only the service manager puts calls in order.

/// \brief Whether a service of this name exists. No when the service manager cannot be asked.
bool isPresent(const std::wstring& name);

/// \brief Registers the update service, started by the system at boot.
///
/// While a former one is still marked for deletion, tries again for about two seconds.
/// \param path The service's program, up to 2047 characters; it is put in quotes.
/// \return 0, \ref kBadPath, \ref kNoManagerToCreate, or the error of the system, such as 1073 where it
///         exists.
std::int32_t install(const std::wstring& path);

/// \brief Sets the update service's description anew.
/// \return 0, \ref kNoManager or \ref kNoService.
std::int32_t update();

/// \brief Starts the update service, waiting for a stop that is under way first, however long that takes, and
/// for the start while it gets on.
/// \return 0 also when it runs already, and when it has not come up in time; else a code or the system's
///         error.
std::int32_t start();

/// \brief Stops a service and waits for up to 16 seconds.
/// \return 0 also when there is none, or it is still about to stop; else a code.
std::int32_t stop(const std::wstring& name);

/// \brief Stops the update service, whatever comes of that, and deletes it.
/// \return 0 or a code.
std::int32_t uninstall();

} // namespace service
