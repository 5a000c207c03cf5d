#pragma once

#include <cstdint>
#include <string>

namespace ipc {

/// \brief Answers the requests that a serving channel receives.
///
/// The channel's listener thread calls the handler for one request at a time. The channel's `stop` waits
/// until the handler returns, so the handler must not wait for the thread that calls `stop`. A client that
/// receives no reply repeats its request up to six times.
///
/// Every user of the machine can connect to the pipe and keep it busy. Sender id and payload are not
/// authenticated. A handler must compare the payload with the requests it knows and ignore any other. It must
/// not run, open, load or delete a file that a payload names, must not use the payload as a format or a path,
/// and must not display it as the application's own text.
class IRequestHandler {
public:
    virtual ~IRequestHandler() = default;

    /// \brief Handles a request and leaves the answer in `reply`.
    /// \param senderProcessId The process id in the message, which the sender can forge.
    virtual void onRequest(std::uint32_t senderProcessId, const std::string& payload) = 0;

    /// The answer to the last request; empty for none. Up to 65,526 bytes; a longer one is not sent.
    std::string reply;
};

} // namespace ipc
