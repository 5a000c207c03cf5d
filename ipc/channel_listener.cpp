#include "ipc/channel.h"

#include "ipc/message_format.h"

namespace ipc {
namespace {

constexpr DWORD kLongestSilence = 5000; // milliseconds for a client to send its request
constexpr DWORD kReplyGrace = 200;      // milliseconds for a client to read the reply

} // namespace

void CInterprocessCommunicationWin::Run(std::uint32_t) noexcept {
    listenError_ = stopping_.get() ? ERROR_OPERATION_ABORTED : listen();
    bool isListening = listenError_ == 0;
    SetEvent(listeningEvent_.get());
    while (isListening) {
        const bool isServing = serveClient();
        DisconnectNamedPipe(pipe_.get());
        isListening = isServing && !stopping_.get() && listen() == 0;
    }
    pipe_.reset(); // clients would wait for a server that does not listen
}

/// Starts to wait for a client.
/// \return 0, or the error of ConnectNamedPipe, which ends the listener.
std::uint32_t CInterprocessCommunicationWin::listen() {
    const auto connect = [this]() -> std::uint32_t {
        if (ConnectNamedPipe(pipe_.get(), &overlapped_))
            return 0;
        const DWORD error = GetLastError();
        return error == ERROR_IO_PENDING ? 0 : error;
    };
    const std::uint32_t error = connect();
    // ERROR_PIPE_CONNECTED: a client connected before the call. ERROR_NO_DATA: it has also closed its end.
    // After DisconnectNamedPipe no client can connect before ConnectNamedPipe, so the second call waits.
    if (error != ERROR_PIPE_CONNECTED && error != ERROR_NO_DATA)
        return error;
    DisconnectNamedPipe(pipe_.get());
    return connect();
}

/// Waits for a client and answers its request.
/// \return False if the channel stops.
bool CInterprocessCommunicationWin::serveClient() {
    DWORD count = 0;
    if (waitForIo(INFINITE, count) == ERROR_OPERATION_ABORTED)
        return false;
    // The pipe has one instance: a silent client would keep all others out.
    const std::uint32_t error = read(kLongestSilence, count);
    // A message larger than the buffer is truncated.
    if (count >= kHeaderSize && handler_ != nullptr)
        answer({receiveBuffer_.get(), count});
    return error != ERROR_OPERATION_ABORTED;
}

/// Reads one message into the receive buffer. Errors: see `waitForIo`.
std::uint32_t CInterprocessCommunicationWin::read(DWORD timeOut, DWORD& count) {
    count = 0;
    if (!ReadFile(pipe_.get(), receiveBuffer_.get(), kLargestMessage, nullptr, &overlapped_)) {
        const DWORD error = GetLastError();
        if (error != ERROR_IO_PENDING && error != ERROR_MORE_DATA)
            return error;
    }
    return waitForIo(timeOut, count);
}

void CInterprocessCommunicationWin::answer(std::string_view message) {
    try {
        handler_->onRequest(senderOf(message), std::string(payloadOf(message)));
        const std::string& reply = handler_->reply;
        if (reply.empty() || !fitsMessage(reply))
            return;
        sendBuffer_.resize(kHeaderSize + reply.size());
        writeMessage(GetCurrentProcessId(), reply, sendBuffer_.data());
    } catch (...) {
        // A handler that throws must not end the listener. The client receives no reply.
        return;
    }
    DWORD count = 0;
    // A plain call in spite of FILE_FLAG_OVERLAPPED: the buffer of the pipe holds the whole reply, so the
    // write completes at once.
    WriteFile(pipe_.get(), sendBuffer_.data(), static_cast<DWORD>(sendBuffer_.size()), &count, nullptr);
    // DisconnectNamedPipe discards a reply that the client has not read. This read completes when the client
    // closes its end. It discards a second request: each request needs its own connection.
    read(kReplyGrace, count);
}

} // namespace ipc
