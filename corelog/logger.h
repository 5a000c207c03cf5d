#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace CoreLog {

/// \brief Sets the base name of the log file and of its settings file. Does no I/O. Called once when the DLL
/// is loaded.
void setSettingsName(std::string_view name);

/// \brief Writes lines to the suite's log file. Each operation creates its own logger by `createLogger`.
///
/// Threads and processes may log to one file concurrently, each with its own logger. While each acquires the
/// lock of the file, no line is torn, and a line is lost only if memory or disk space runs out, if
/// CreateFileW fails, or when a full log is handed over, see log_file.h.
class ILogger {
public:
    /// Destroys the logger.
    virtual void release() = 0;

    /// Returns the highest level that is written. Levels: 3 failure, 6 argument dumps, 7 success and
    /// transport codes.
    virtual std::int32_t threshold() const = 0;

    /// Appends one line. Ignores failures: logging must not make an operation fail.
    virtual void write(std::string_view line) = 0;

protected:
    ~ILogger() = default;
};

struct LoggerRelease {
    void operator()(ILogger* logger) const { logger->release(); }
};

/// Owns a logger. Null if logging is not available.
using LoggerSlot = std::unique_ptr<ILogger, LoggerRelease>;

/// \brief Creates a logger for <roaming data>\\logs\\<settings name>.log. Creates the folder if it is
/// missing; the first line creates the file.
///
/// Uses the current directory if the roaming folder cannot be found. The threshold is the value of the key
/// "Level" in <settings name>.cfg in the same folder, by default 3. A change takes effect within a second.
/// \param[in,out] slot Its previous logger is destroyed first. Null if the call fails.
/// \return 0; the error of CreateDirectoryW if the folder cannot be created; `ERROR_OUTOFMEMORY` (14).
int createLogger(LoggerSlot& slot) noexcept;

} // namespace CoreLog
