// Raising a running instance of an application.

#include "bench/benchmarks.h"
#include "bench/harness.h"
#include "ipc/bring_to_front.h"
#include "ipc/channel.h"
#include "ipc/channel_names.h"
#include "ipc/message_format.h"
#include "ipc/window_request_handler.h"
#include "win32/owner.h"
#include "zelsyshelper.h"

#include <atomic>
#include <thread>

#include <windows.h>

namespace {

constexpr char kApplication[] = "bench";
constexpr wchar_t kBarePipe[] = L"\\\\.\\pipe\\zelsyshelper-bench";
constexpr DWORD kMessage = 4096;

/// Pipe server that echoes a client's messages until the client disconnects, then accepts the next one.
class BareServer {
public:
    BareServer()
        : pipe_(CreateNamedPipeW(kBarePipe, PIPE_ACCESS_DUPLEX, PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE, 1,
                                 kMessage, kMessage, 0, nullptr)),
          thread_([this] { serve(); }) {}

    ~BareServer() {
        isOver_ = true;
        const win32::KernelHandle wake(
            CreateFileW(kBarePipe, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        thread_.join();
    }

private:
    void serve() {
        char message[kMessage];
        DWORD count = 0, written = 0;
        while (!isOver_) {
            if (ConnectNamedPipe(pipe_.get(), nullptr) || GetLastError() == ERROR_PIPE_CONNECTED)
                while (!isOver_ && ReadFile(pipe_.get(), message, kMessage, &count, nullptr))
                    WriteFile(pipe_.get(), message, count, &written, nullptr);
            DisconnectNamedPipe(pipe_.get());
        }
    }

    win32::KernelHandle pipe_;
    std::atomic<bool> isOver_ = false;
    std::thread thread_;
};

/// Opens a pipe. On ERROR_PIPE_BUSY, waits until the server has disconnected the previous client.
win32::KernelHandle open(const std::wstring& path) {
    for (;;) {
        win32::KernelHandle pipe(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                             OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        DWORD mode = PIPE_READMODE_MESSAGE;
        if (pipe && SetNamedPipeHandleState(pipe.get(), &mode, nullptr, nullptr))
            return pipe;
        if (GetLastError() != ERROR_PIPE_BUSY || !WaitNamedPipeW(path.c_str(), 1000))
            return {};
    }
}

bool transact(HANDLE pipe, std::string_view payload) {
    char request[kMessage], reply[kMessage];
    const std::size_t size = ipc::writeMessage(GetCurrentProcessId(), payload, request);
    DWORD count = 0;
    return TransactNamedPipe(pipe, request, static_cast<DWORD>(size), reply, kMessage, &count, nullptr) &&
           count > ipc::kHeaderSize;
}

bool raiseBare() {
    const win32::KernelHandle pipe = open(kBarePipe);
    return pipe && transact(pipe.get(), ipc::kGetWindowRequest) && transact(pipe.get(), ipc::kShowRequest);
}

/// Raises an instance without the library: checks the instance mutex, requests the window, raises it and
/// sends the show request. The channel disconnects after each reply, so the two requests need two
/// connections.
bool raiseByChannel() {
    const win32::KernelHandle mutex(
        OpenMutexW(SYNCHRONIZE, FALSE, ipc::instanceMutexName(kApplication).c_str()));
    if (!mutex)
        return false;
    const std::wstring path = L"\\\\.\\pipe\\" + ipc::pipeBaseName(kApplication);
    for (const std::string_view request : {ipc::kGetWindowRequest, ipc::kShowRequest}) {
        if (const win32::KernelHandle pipe = open(path); !pipe || !transact(pipe.get(), request))
            return false;
        if (request == ipc::kGetWindowRequest)
            SetForegroundWindow(nullptr);
    }
    return true;
}

} // namespace

void benchRaise() {
    const BareServer server;
    ipc::CInterprocessCommunicationWin channel(ipc::instanceMutexName(kApplication),
                                               ipc::pipeBaseName(kApplication));
    ipc::CWindowRequestHandler handler([] { return HWND{}; }, [] {});
    channel.setRequestHandler(&handler);
    bench::require(channel.startServer() == 0, "the channel does not serve");
    bench::measure({.name = "raise a running instance",
                    .ours = {"bringRuningAppToTop", [] { return bringRuningAppToTop(kApplication) == 1; }},
                    .limit = bench::Contender{"bare client of the channel", raiseByChannel},
                    .alternatives = {{"bare pipe, 2 transactions", raiseBare}},
                    .goal = {.mostToLimit = 1.5},
                    .seconds = 6});
    channel.stop();
}
