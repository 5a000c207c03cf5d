#pragma once

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
/// One object serves all threads. The body of an event is made under its mutex; the posts run side by side.
/// The outcome of a post is logged and reaches nobody else.
class CAppEventStat {
public:
    /// \brief Starts a new call: takes its settings and values, counts from 1 again, and sends its first
    /// event on this thread.
    ///
    /// All of that happens in one piece, so that no event carries another call's fields.
    void sendFirst(const TSenderSettings& settings, const TApplicationValues& application,
                   const TEvent& event);

    /// \brief Sends one more event with the settings and values of the last call.
    /// \param synchronous True posts on this thread and returns when the exchange is over; false posts on a
    /// new thread.
    /// \param eventNumber The event's number; 0 takes the next one of the counter.
    void sendEvent(const TEvent& event, bool synchronous, std::uint32_t eventNumber);

private:
    struct Post {
        std::string body;
        TProxySettings proxy;
    };

    std::optional<Post> makePost(const TEvent& event, std::uint32_t eventNumber);
    static void send(const Post& post);

    sys::Mutex mutex_;
    TSenderSettings settings_;
    std::uint32_t counter_ = 0;
    CEventRecord record_;
};

/// \brief The sender of the library, made at the first call.
CAppEventStat& appEventStat();

} // namespace stats
