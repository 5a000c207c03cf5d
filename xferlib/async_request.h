#pragma once

#include "win32/winhttp_handle.h"
#include "xferlib/deadline.h"

#include <memory>
#include <string>

namespace xferlib {

/// \brief A request of an asynchronous session. Blocks for each step until it completes or the deadline
/// passes.
///
/// WinHTTP's own time-outs restart with each piece that arrives, so a peer that sends one byte at a time
/// could block a synchronous call indefinitely. After the deadline the step is abandoned. The destructor
/// closes the request and waits up to 1 s for HANDLE_CLOSING. If WinHTTP does not report it in that time, the
/// buffers of the step are leaked and the library stays loaded.
///
/// Steps return 0 or a Windows error number, ERROR_WINHTTP_TIMEOUT after the deadline. After
/// ERROR_WINHTTP_RESEND_REQUEST the request may be sent again. After any other error no step may follow.
class AsyncRequest {
public:
    /// \param request A new request. If it is null, `isValid` returns false.
    AsyncRequest(win32::WinHttpHandle request, const Deadline& deadline);
    AsyncRequest(const AsyncRequest&) = delete;
    AsyncRequest& operator=(const AsyncRequest&) = delete;
    ~AsyncRequest();

    bool isValid() const { return state_ != nullptr; }

    /// Returns the handle for WinHTTP calls that do not block, such as WinHttpSetOption,
    /// WinHttpAddRequestHeaders and WinHttpQueryHeaders.
    HINTERNET get() const { return request_.get(); }

    /// Sends the request with this body. May be repeated, for example with credentials.
    DWORD send(const std::string& body);
    /// Waits for the headers of the reply.
    DWORD receiveResponse();

    /// \brief Appends the next part of the reply's body to `body`; nothing after the last part.
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
