#pragma once

#include "sys/mutex.h"

#include <string>

namespace host {

/// The lowest level of the log that includes the outcome of every event. Rejections appear from level 3 on.
inline constexpr int kOutcomeLevel = 7;

/// \brief Raises the level of the library's log for a while, in the settings file that all programs of the
/// user share. Thread-safe.
///
/// Adds a first line to the file and removes it again, so all other contents stay, also changes that other
/// programs save meanwhile. Several processes can raise the level at the same time: each adds a line.
class RaisedLogLevel {
public:
    /// \param settingsFile The file "Quenlith.cfg" in the folder of the logs. May be missing.
    explicit RaisedLogLevel(std::wstring settingsFile) : path_(std::move(settingsFile)) {}
    RaisedLogLevel(const RaisedLogLevel&) = delete;
    RaisedLogLevel& operator=(const RaisedLogLevel&) = delete;
    ~RaisedLogLevel() { restore(); }

    /// \brief Raises the level to \ref kOutcomeLevel unless it is higher. Does nothing after `restore`.
    /// \return False if the file cannot be read or written, or `restore` was called.
    bool raise();

    /// \brief Restores the level unless another program has changed it. Idempotent.
    /// \return False if the file cannot be read or written.
    bool restore();

private:
    bool writeRaised();
    bool writeRestored();

    std::wstring path_;
    sys::Mutex mutex_;  ///< Guards the members below.
    std::string level_; ///< The level before `raise`.
    bool existed_ = false;
    bool wasEmpty_ = false;
    bool isRaised_ = false;
    bool isOver_ = false;
};

} // namespace host
