#include "ipc/channel.h"

#include "ipc/message_format.h"

namespace ipc {
namespace {

/// Milliseconds for a client to fetch its reply: disconnecting drops what it has not read by then.
constexpr DWORD kReplyGrace = 200;
constexpr DWORD kGraceStep = 5;

} // namespace

void CInterprocessCommunicationWin::Run(std::uint32_t) {
    bool goesOn = true;
    while (goesOn && !stopping_.get()) {
        // Only a wait for a client is no end. One that is there already ends the listener too.
        if (!ConnectNamedPipe(pipe_.get(), &overlapped_) && GetLastError() != ERROR_IO_PENDING)
            break;
        SetEvent(listeningEvent_.get());
        goesOn = serveClient();
        DisconnectNamedPipe(pipe_.get());
    }
    pipe_.reset(); // clients of a pipe that nobody serves would wait for ever
    SetEvent(listeningEvent_.get());
}

/// Waits for a client and answers its request.
/// \return False when the channel is to stop.
bool CInterprocessCommunicationWin::serveClient() {
    DWORD count = 0;
    if (!waitForIo(count))
        return false;
    const auto size = static_cast<DWORD>(receiveBuffer_.size());
    if (!ReadFile(pipe_.get(), receiveBuffer_.data(), size, nullptr, &overlapped_)) {
        const DWORD error = GetLastError();
        if (error != ERROR_IO_PENDING && error != ERROR_MORE_DATA)
            return true;
    }
    if (!waitForIo(count))
        return false;
    // Of a longer message, what fits the buffer is taken.
    if (count >= kHeaderSize && handler_ != nullptr)
        answer({receiveBuffer_.data(), count});
    return true;
}

/// Waits for the end of the operation that was begun.
/// \param[out] count The bytes that it has moved; 0 when it failed.
/// \return False when the channel is to stop; the operation is over then, too.
bool CInterprocessCommunicationWin::waitForIo(DWORD& count) {
    const HANDLE events[] = {stopEvent_.get(), ioEvent_.get()};
    const bool isOver = WaitForMultipleObjects(2, events, FALSE, INFINITE) == WAIT_OBJECT_0 + 1;
    if (!isOver)
        CancelIoEx(pipe_.get(), &overlapped_);
    // An operation that was cancelled is waited for, since it may use the buffer until it has ended.
    count = 0;
    if (!GetOverlappedResult(pipe_.get(), &overlapped_, &count, !isOver) && GetLastError() != ERROR_MORE_DATA)
        count = 0;
    return isOver;
}

void CInterprocessCommunicationWin::answer(std::string_view message) {
    std::string reply;
    try {
        handler_->onRequest(senderOf(message), std::string(payloadOf(message)));
        reply = handler_->reply;
    } catch (...) {
        // The handler's failure leaves the request without an answer, not the application without a listener.
        return;
    }
    if (reply.empty() || !fitsMessage(reply))
        return;
    const std::size_t length = writeMessage(GetCurrentProcessId(), reply, sendBuffer_.data());
    DWORD written = 0;
    WriteFile(pipe_.get(), sendBuffer_.data(), static_cast<DWORD>(length), &written, nullptr);
    waitUntilFetched();
}

/// Gives the client time to fetch its reply: until it hangs up, asks for more, or the time is over.
void CInterprocessCommunicationWin::waitUntilFetched() {
    for (DWORD waited = 0; waited < kReplyGrace; waited += kGraceStep) {
        DWORD asked = 0;
        if (!PeekNamedPipe(pipe_.get(), nullptr, 0, nullptr, &asked, nullptr) || asked != 0 ||
            WaitForSingleObject(stopEvent_.get(), kGraceStep) != WAIT_TIMEOUT)
            return;
    }
}

} // namespace ipc
