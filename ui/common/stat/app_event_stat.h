#pragma once

#include "corelog/logger.h"
#include "sys/mutex.h"
#include "ui/common/stat/common_settings.h"
#include "ui/common/stat/event_record.h"

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

namespace stats {

/// How events are sent.
struct TSenderSettings {
    bool enabled = false; ///< While false, nothing is sent.
    bool isTest = false;  ///< Marks events as a test.
    TProxySettings proxy{};
};

/// \brief Sends usage events to the statistics host.
///
/// Thread-safe. Builds the body of an event under a mutex and posts it outside: posts run concurrently. Logs
/// the outcome of a post and does not return it.
class CAppEventStat {
public:
    /// \brief Stores the settings and values of a new call and sends its first event, number 1.
    ///
    /// Stores them and builds the event atomically: no event carries another call's fields. Posts on this
    /// thread and blocks until the exchange is over.
    /// \param logger Logs the outcome. May be null. Passed in: another logger would call CreateDirectoryW
    /// again, and open the log file for its first line.
    void sendFirst(const TSenderSettings& settings, const TApplicationValues& application,
                   const TEvent& event, CoreLog::ILogger* logger);

    /// \brief Sends another event with the settings and values of the last call.
    /// \param synchronous True: posts on this thread and blocks until the exchange is over. False: posts on a
    ///                    new thread; the event is lost if none can be started.
    /// \param eventNumber The event's number; 0: the next number of the counter.
    void sendEvent(const TEvent& event, bool synchronous, std::uint32_t eventNumber);

private:
    struct Post {
        std::string body;
        TProxySettings proxy;
    };

    std::optional<Post> makePost(const TEvent& event, std::uint32_t eventNumber);
    static void send(const Post& post, CoreLog::ILogger* logger);

    sys::Mutex mutex_;
    TSenderSettings settings_;
    std::uint32_t counter_ = 0;
    CEventRecord record_;
};

/// \brief Returns the library's sender. Constructed on first use.
CAppEventStat& appEventStat();

} // namespace stats
