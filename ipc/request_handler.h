#pragma once

#include <cstdint>
#include <string>

namespace ipc {

/// \brief Answers the requests that reach a serving channel.
///
/// Called on the channel's listener thread, for one request at a time. The channel's `stop` waits for it to
/// return: it must not wait for the thread that stops the channel. A request that gets no reply is sent up to
/// seven times.
///
/// The pipe is open to every user of the machine, who can also keep it busy, and nothing vouches for the
/// sender id or the payload. A handler compares the payload with the few requests it knows and ignores
/// everything else. It must not run, open, load or delete what a payload names, must not use it as a format
/// or a path, and must not show it to the user as the application's own words.
class IRequestHandler {
public:
    virtual ~IRequestHandler() = default;

    /// \brief Handles a request and leaves the answer in `reply`.
    /// \param senderProcessId What the sender says of itself.
    virtual void onRequest(std::uint32_t senderProcessId, const std::string& payload) = 0;

    /// The answer to the last request; empty for none. Up to 65,526 bytes; a longer one is not sent.
    std::string reply;
};

} // namespace ipc
