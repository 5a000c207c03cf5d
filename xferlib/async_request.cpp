#include "xferlib/async_request.h"

#include "sys/cs_wrapper.h"
#include "sys/signal.h"
#include "win32/process.h"
#include "win32/winhttp_headers.h"

#include <atomic>

namespace xferlib {
namespace {

constexpr DWORD kReadSize = 64 * 1024;
constexpr DWORD kCloseTime = 1000; // milliseconds

} // namespace

/// Used by WinHTTP's threads until they report HANDLE_CLOSING.
struct AsyncRequest::State {
    enum class Step { send, receive, read };

    /// Starts a step from the callback of the step before. Waking the caller's thread in between would take a
    /// tenth of the time of a request.
    template <class Call>
    void start(Step next, Call call) {
        const sys::CsGuard guard(closing.section());
        if (isClosing) // another request may already have the handle
            return;
        step = next;
        if (call())
            return;
        error = GetLastError();
        stepOver.set();
    }

    sys::CCsWrapper closing; ///< Recursive: a step can call back before it returns, and start the next one.
    bool isClosing = false;
    std::atomic<Step> step = Step::send;
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
    if (state_ != nullptr) {
        const sys::CsGuard guard(state_->closing.section());
        state_->isClosing = true;
    }
    request_.reset();
    // After HANDLE_CLOSING WinHTTP does not call back, and the library can be unloaded. Without that report
    // the library and the buffers of the step must stay.
    if (state_ != nullptr && !state_->closed.wait(kCloseTime)) {
        win32::pinModule();
        static_cast<void>(state_.release());
    }
}

DWORD AsyncRequest::sendAndReceive(const std::string& body) {
    State& state = *state_;
    state.sent = body;
    state.received.resize(kReadSize);
    state.step = State::Step::send;
    firstRead_.reset();
    const DWORD error = wait([&] {
        const auto size = static_cast<DWORD>(state.sent.size());
        return WinHttpSendRequest(get(), WINHTTP_NO_ADDITIONAL_HEADERS, 0,
                                  size != 0 ? state.sent.data() : WINHTTP_NO_REQUEST_DATA, size, size,
                                  context_);
    });
    if (state.step != State::Step::read)
        return error;
    firstRead_ = error;
    return 0;
}

bool AsyncRequest::isSent() const {
    return state_->step != State::Step::send;
}

DWORD AsyncRequest::readPart(std::string& body) {
    State& state = *state_;
    const DWORD error =
        firstRead_ ? *firstRead_
                   : wait([&] { return WinHttpReadData(get(), state.received.data(), kReadSize, nullptr); });
    firstRead_.reset();
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

void CALLBACK AsyncRequest::onStatus(HINTERNET request, DWORD_PTR context, DWORD status, void* information,
                                     DWORD length) {
    if (context == 0)
        return;
    State& state = *reinterpret_cast<State*>(context);
    switch (status) {
    case WINHTTP_CALLBACK_STATUS_SENDREQUEST_COMPLETE:
        state.start(State::Step::receive, [&] { return WinHttpReceiveResponse(request, nullptr); });
        return;
    case WINHTTP_CALLBACK_STATUS_HEADERS_AVAILABLE:
        // The body of other replies is not always read.
        if (win32::numberHeader(request, WINHTTP_QUERY_STATUS_CODE) != HTTP_STATUS_OK)
            break;
        state.start(State::Step::read,
                    [&] { return WinHttpReadData(request, state.received.data(), kReadSize, nullptr); });
        return;
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
