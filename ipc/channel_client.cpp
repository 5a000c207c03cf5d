#include "ipc/channel.h"

#include "ipc/message_format.h"

namespace ipc {
namespace {

constexpr int kAttempts = 7;
constexpr DWORD kAttemptPause = 300;        // milliseconds
constexpr DWORD kConnectTimeOut = 15000;    // milliseconds
constexpr ULONGLONG kLongestRequest = 5000; // milliseconds
constexpr std::uint32_t kNoPipe = 10;
// By default a server may impersonate its clients. A process of another user can serve the pipe's name.
constexpr DWORD kOpenFlags =
    FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;

std::wstring computerName() {
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD size = MAX_COMPUTERNAME_LENGTH + 1;
    GetComputerNameW(name, &size);
    return name;
}

/// Returns the milliseconds until a tick count; 0 if it has passed.
DWORD remaining(ULONGLONG deadline) {
    const ULONGLONG now = GetTickCount64();
    return now < deadline ? static_cast<DWORD>(deadline - now) : 0;
}

} // namespace

std::uint32_t CInterprocessCommunicationWin::connectToServer(DWORD patience) {
    if (listener_.isRunning())
        return ERROR_BUSY;
    if (const std::uint32_t error = prepare({&stopEvent_, &ioEvent_}))
        return error;
    // The bare name is not a pipe path: WaitNamedPipeW fails at once, and the pipe is opened below.
    if (WaitNamedPipeW(pipeBaseName().c_str(), kConnectTimeOut))
        return GetLastError();
    const std::uint32_t error = openClientEnd(GetTickCount64() + patience);
    isConnected_ = error == 0;
    return error;
}

/// Replaces the client end by a new connection.
/// \param deadline Tick count up to which the call waits for a server that handles another client.
std::uint32_t CInterprocessCommunicationWin::openClientEnd(ULONGLONG deadline) {
    pipe_.reset();
    const std::wstring path = L"\\pipe\\" + pipeBaseName();
    std::uint32_t error = ERROR_BAD_NETPATH;
    if (!isLocalOnly_)
        error = openPath(L"\\\\" + computerName() + path, deadline);
    // A path with the computer's name needs the Server service, which can be disabled.
    if (error != 0 && error != ERROR_PIPE_BUSY) {
        error = openPath(L"\\\\." + path, deadline);
        isLocalOnly_ = error == 0 || error == ERROR_PIPE_BUSY;
    }
    return error;
}

std::uint32_t CInterprocessCommunicationWin::openPath(const std::wstring& path, ULONGLONG deadline) {
    for (;;) {
        pipe_.reset(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                                FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, kOpenFlags,
                                nullptr));
        if (pipe_)
            return 0;
        const DWORD error = GetLastError();
        // A time-out of 0 would select the server's default of 15 seconds.
        const DWORD time = remaining(deadline);
        if (error != ERROR_PIPE_BUSY || time == 0 || !WaitNamedPipeW(path.c_str(), time))
            return error;
    }
}

std::uint32_t CInterprocessCommunicationWin::sendRequest(const std::string& payload) {
    if (isFirstInstance_)
        return 0;
    if (!isConnected_)
        return kNoPipe;
    lastReply_.clear();
    if (!fitsMessage(payload))
        return ERROR_BUFFER_OVERFLOW;
    sendBuffer_.resize(kHeaderSize + payload.size());
    writeMessage(GetCurrentProcessId(), payload, sendBuffer_.data());
    const ULONGLONG deadline = GetTickCount64() + kLongestRequest;

    std::uint32_t error = 0;
    for (int i = 0; i < kAttempts; ++i) {
        if (stopping_.get())
            return error;
        DWORD received = 0;
        error = attempt(deadline, received);
        if (error == 0) {
            lastReply_ = payloadOf({receiveBuffer_.get(), received});
            return 0;
        }
        isConnected_ = error != ERROR_SEM_TIMEOUT;
        if (!isConnected_ || remaining(deadline) < kAttemptPause ||
            WaitForSingleObject(stopEvent_.get(), kAttemptPause) == WAIT_OBJECT_0)
            return error;
    }
    return error;
}

/// Sends the message in the send buffer and receives the reply.
std::uint32_t CInterprocessCommunicationWin::attempt(ULONGLONG deadline, DWORD& received) {
    // The listener disconnects a client that sends nothing for 5 seconds. On such a connection
    // SetNamedPipeHandleState fails.
    if (!pipe_ || setMessageMode() != 0)
        if (const std::uint32_t error = openClientEnd(deadline))
            return error;
    const std::uint32_t error = transact(deadline, received);
    // A connection carries one request: the server disconnects after its reply. Closing it at once frees the
    // server for the next client, and keeps a late reply from being read as the reply to the next request.
    pipe_.reset();
    return error;
}

/// Sets message read mode: in the byte read mode of a new handle TransactNamedPipe fails with ERROR_BAD_PIPE.
/// \return 0; ERROR_PIPE_NOT_CONNECTED if the server has disconnected.
std::uint32_t CInterprocessCommunicationWin::setMessageMode() {
    DWORD mode = PIPE_READMODE_MESSAGE;
    return SetNamedPipeHandleState(pipe_.get(), &mode, nullptr, nullptr) ? 0 : GetLastError();
}

std::uint32_t CInterprocessCommunicationWin::transact(ULONGLONG deadline, DWORD& received) {
    if (const std::uint32_t error = setMessageMode())
        return error;
    if (!TransactNamedPipe(pipe_.get(), sendBuffer_.data(), static_cast<DWORD>(sendBuffer_.size()),
                           receiveBuffer_.get(), kLargestMessage, nullptr, &overlapped_)) {
        const DWORD error = GetLastError();
        if (error != ERROR_IO_PENDING)
            return error;
    }
    return waitForIo(remaining(deadline), received);
}

} // namespace ipc
