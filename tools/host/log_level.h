#pragma once

#include "sys/mutex.h"

#include <string>

namespace host {

/// The level at which the library logs the outcome of each event.
inline constexpr int kOutcomeLevel = 7;

/// \brief Raises the level of the library's log for a while, in the settings file that all programs of the
/// user share. Thread-safe.
///
/// All other contents of the file are restored byte for byte. If another program saves the file meanwhile,
/// its changes stay, and only the key "Level" is restored.
class RaisedLogLevel {
public:
    /// \param settingsFile The file "Quenlith.cfg" in the folder of the logs. May be missing.
    explicit RaisedLogLevel(std::wstring settingsFile) : path_(std::move(settingsFile)) {}
    RaisedLogLevel(const RaisedLogLevel&) = delete;
    RaisedLogLevel& operator=(const RaisedLogLevel&) = delete;
    ~RaisedLogLevel() { restore(); }

    /// \brief Raises the level to \ref kOutcomeLevel unless it is as high already. Does nothing after
    /// `restore`.
    /// \return False if the file cannot be read or written, or `restore` was called.
    bool raise();

    /// \brief Restores the level. Idempotent.
    /// \return False if the file cannot be read or written.
    bool restore();

private:
    bool writeRaised();
    bool writeRestored();

    std::wstring path_;
    sys::Mutex mutex_; ///< Guards all of these.
    std::string original_, raised_;
    bool existed_ = false;
    bool isRaised_ = false;
    bool isOver_ = false;
};

} // namespace host
