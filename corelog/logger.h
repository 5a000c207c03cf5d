#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace CoreLog {

/// \brief Selects the name of the log file and of its settings. Called once at load; stores the name only.
void setSettingsName(std::string_view name);

/// \brief Writes lines to the suite's log file. Obtained from `createLogger` for one piece of work.
///
/// Threads and processes may log to one file at the same time, each with a logger of its own. No line is
/// torn, and none is lost unless the disk is full or another program keeps the file from being opened.
class ILogger {
public:
    /// Releases the logger.
    virtual void release() = 0;

    /// The highest level that is written. Levels: 3 failure, 6 argument dumps, 7 routine success.
    virtual std::int32_t threshold() const = 0;

    /// Appends one line. A failure is silent: logging never gets in the way of the work.
    virtual void write(std::string_view line) = 0;

protected:
    ~ILogger() = default;
};

struct LoggerRelease {
    void operator()(ILogger* logger) const { logger->release(); }
};

/// Holds a logger, or null where logging is not available.
using LoggerSlot = std::unique_ptr<ILogger, LoggerRelease>;

/// \brief Gets a logger for <roaming data>\\logs\\<settings name>.log. Creates a missing folder; the file
/// is created by the first line.
///
/// The threshold is the value of the key "Level" in <settings name>.cfg beside it, 3 by default.
/// \param[in,out] slot What it holds is released first; null afterwards when the call fails.
/// \return 0, or a Windows error number when there is no folder for the file.
int createLogger(LoggerSlot& slot) noexcept;

} // namespace CoreLog
