#pragma once

#include "win32/winhttp_handle.h"
#include "xferlib/deadline.h"

#include <memory>
#include <string>

namespace xferlib {

/// \brief A request of an asynchronous session, whose steps are waited for up to a deadline.
///
/// WinHTTP's own time-outs count anew with each piece that arrives, so a peer that trickles could hold a
/// synchronous call for ever. Here a step that is not over by the deadline is left to itself: the request is
/// closed, and what the step may still touch lives on until WinHTTP lets go of it.
///
/// The steps return 0 or a Windows error number, ERROR_WINHTTP_TIMEOUT after the deadline. After
/// ERROR_WINHTTP_RESEND_REQUEST the request may be sent again; after any other failure no further step is
/// allowed.
class AsyncRequest {
public:
    /// \param request A request that was just opened; may be null, `isValid` tells.
    AsyncRequest(win32::WinHttpHandle request, const Deadline& deadline);
    AsyncRequest(const AsyncRequest&) = delete;
    AsyncRequest& operator=(const AsyncRequest&) = delete;
    ~AsyncRequest();

    bool isValid() const { return state_ != nullptr; }

    /// For calls that do not wait: options, headers of the reply.
    HINTERNET get() const { return request_.get(); }

    /// Sends the request with this body; may be repeated, for example with credentials.
    DWORD send(const std::string& body);
    DWORD receiveResponse();

    /// \brief Appends the next part of the reply's body to `body`; appends nothing at its end.
    DWORD readPart(std::string& body);

private:
    struct State;

    template <class Call>
    DWORD wait(Call call);

    static void CALLBACK onStatus(HINTERNET, DWORD_PTR context, DWORD status, void* information,
                                  DWORD length);

    const Deadline& deadline_;
    std::unique_ptr<State> state_;
    DWORD_PTR context_ = 0;
    win32::WinHttpHandle request_;
};

} // namespace xferlib
