#include "xferlib/async_request.h"

#include "sys/signal.h"
#include "win32/process.h"

namespace xferlib {
namespace {

constexpr DWORD kReadSize = 64 * 1024;
constexpr DWORD kCloseTime = 1000; // milliseconds

} // namespace

/// Used by WinHTTP's threads until they report HANDLE_CLOSING.
struct AsyncRequest::State {
    sys::Signal stepOver;
    sys::Signal closed; ///< No kernel event: creating and closing one takes a tenth of the time of a request.
    DWORD error = 0;
    DWORD count = 0;
    std::string sent;
    std::string received;
};

AsyncRequest::AsyncRequest(win32::WinHttpHandle request, const Deadline& deadline)
    : deadline_(deadline), request_(std::move(request)) {
    if (!request_)
        return;
    auto state = std::make_unique<State>();
    context_ = reinterpret_cast<DWORD_PTR>(state.get());
    // The callback is set last: once it is set, the destructor must wait for HANDLE_CLOSING.
    if (!WinHttpSetOption(request_.get(), WINHTTP_OPTION_CONTEXT_VALUE, &context_, sizeof context_) ||
        WinHttpSetStatusCallback(request_.get(), onStatus,
                                 WINHTTP_CALLBACK_FLAG_ALL_COMPLETIONS | WINHTTP_CALLBACK_FLAG_HANDLES,
                                 0) == WINHTTP_INVALID_STATUS_CALLBACK)
        return;
    state_ = std::move(state);
}

AsyncRequest::~AsyncRequest() {
    request_.reset();
    // After HANDLE_CLOSING WinHTTP does not call back, and the library can be unloaded. Without that report
    // the library and the buffers of the step must stay.
    if (state_ != nullptr && !state_->closed.wait(kCloseTime)) {
        win32::pinModule();
        static_cast<void>(state_.release());
    }
}

DWORD AsyncRequest::send(const std::string& body) {
    State& state = *state_;
    state.sent = body;
    return wait([&] {
        const auto size = static_cast<DWORD>(state.sent.size());
        return WinHttpSendRequest(get(), WINHTTP_NO_ADDITIONAL_HEADERS, 0,
                                  size != 0 ? state.sent.data() : WINHTTP_NO_REQUEST_DATA, size, size,
                                  context_);
    });
}

DWORD AsyncRequest::receiveResponse() {
    return wait([&] { return WinHttpReceiveResponse(get(), nullptr); });
}

DWORD AsyncRequest::readPart(std::string& body) {
    State& state = *state_;
    state.received.resize(kReadSize);
    const DWORD error =
        wait([&] { return WinHttpReadData(get(), state.received.data(), kReadSize, nullptr); });
    if (error == 0)
        body.append(state.received, 0, state.count);
    return error;
}

/// Starts a step by `call` and waits until it completes or the deadline passes.
template <class Call>
DWORD AsyncRequest::wait(Call call) {
    State& state = *state_;
    state.stepOver.wait(0); // an earlier call may have failed synchronously and called back too
    state.error = state.count = 0;
    if (deadline_.isOver())
        return ERROR_WINHTTP_TIMEOUT;
    if (!call())
        return GetLastError();
    return state.stepOver.wait(static_cast<ULONGLONG>(deadline_.remaining())) ? state.error
                                                                              : ERROR_WINHTTP_TIMEOUT;
}

void CALLBACK AsyncRequest::onStatus(HINTERNET, DWORD_PTR context, DWORD status, void* information,
                                     DWORD length) {
    if (context == 0)
        return;
    State& state = *reinterpret_cast<State*>(context);
    switch (status) {
    case WINHTTP_CALLBACK_STATUS_SENDREQUEST_COMPLETE:
    case WINHTTP_CALLBACK_STATUS_HEADERS_AVAILABLE:
        break;
    case WINHTTP_CALLBACK_STATUS_READ_COMPLETE:
        state.count = length;
        break;
    case WINHTTP_CALLBACK_STATUS_REQUEST_ERROR:
        state.error = static_cast<WINHTTP_ASYNC_RESULT*>(information)->dwError;
        break;
    case WINHTTP_CALLBACK_STATUS_HANDLE_CLOSING:
        // set() must stay the last call. It ends with a tail call of ReleaseSRWLockExclusive, which does not
        // return to this library: the destructor's thread may unload it as soon as the lock is free.
        state.closed.set();
        return;
    default:
        return;
    }
    state.stepOver.set();
}

} // namespace xferlib
