#include "ipc/channel.h"

#include "ipc/message_format.h"

namespace ipc {
namespace {

constexpr int kAttempts = 7;
constexpr DWORD kAttemptPause = 300;     // milliseconds
constexpr DWORD kConnectTimeOut = 15000; // milliseconds
constexpr std::uint32_t kNoPipe = 10;

/// The client's way to the pipe leads over the name of this computer.
std::wstring clientPath(const std::wstring& baseName) {
    wchar_t computer[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD size = MAX_COMPUTERNAME_LENGTH + 1;
    GetComputerNameW(computer, &size);
    return std::wstring(L"\\\\") + computer + L"\\pipe\\" + baseName;
}

bool hasHungUp(std::uint32_t error) {
    return error == ERROR_PIPE_NOT_CONNECTED || error == ERROR_BROKEN_PIPE;
}

} // namespace

std::uint32_t CInterprocessCommunicationWin::connectToServer() {
    if (listener_.isRunning())
        return ERROR_BUSY;
    prepare();
    // The bare name is no pipe, so this fails at once and the pipe is opened.
    if (WaitNamedPipeW(pipeBaseName().c_str(), kConnectTimeOut))
        return GetLastError();
    return openClientEnd();
}

std::uint32_t CInterprocessCommunicationWin::openClientEnd() {
    pipe_.reset();
    win32::KernelHandle pipe(CreateFileW(clientPath(pipeBaseName()).c_str(), GENERIC_READ | GENERIC_WRITE,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                         FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!pipe)
        return GetLastError();
    pipe_ = std::move(pipe);
    return 0;
}

std::uint32_t CInterprocessCommunicationWin::sendRequest(const std::string& payload) {
    if (isFirstInstance_)
        return 0;
    if (!pipe_)
        return kNoPipe;
    lastReply_.clear();
    if (!fitsMessage(payload))
        return ERROR_BUFFER_OVERFLOW;
    const std::size_t length = writeMessage(GetCurrentProcessId(), payload, sendBuffer_.data());

    std::uint32_t error = 0;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (stopping_.get())
            return error;
        // The server hangs up after each reply, so a second request needs a new connection.
        if (hasHungUp(error) || !pipe_)
            error = openClientEnd();
        DWORD received = 0;
        if (pipe_)
            error = transact(length, received);
        if (error == 0) {
            lastReply_ = payloadOf({receiveBuffer_.data(), received});
            return 0;
        }
        if (WaitForSingleObject(stopEvent_.get(), kAttemptPause) == WAIT_OBJECT_0)
            return error;
    }
    return error;
}

/// Sends the message in the send buffer and receives the reply.
std::uint32_t CInterprocessCommunicationWin::transact(std::size_t length, DWORD& received) {
    const auto call = [&]() -> std::uint32_t {
        return TransactNamedPipe(pipe_.get(), sendBuffer_.data(), static_cast<DWORD>(length),
                                 receiveBuffer_.data(), static_cast<DWORD>(receiveBuffer_.size()), &received,
                                 nullptr)
                   ? 0
                   : GetLastError();
    };
    const std::uint32_t error = call();
    if (error != ERROR_BAD_PIPE)
        return error;
    // A fresh handle reads bytes, which the system refuses for transactions.
    DWORD mode = PIPE_READMODE_MESSAGE;
    return SetNamedPipeHandleState(pipe_.get(), &mode, nullptr, nullptr) ? call() : GetLastError();
}

} // namespace ipc
