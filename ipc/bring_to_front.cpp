#include "ipc/bring_to_front.h"

#include "ipc/channel.h"
#include "ipc/channel_names.h"

#include <cstdlib>

namespace ipc {
namespace {

constexpr int kConnectAttempts = 40;
constexpr DWORD kConnectPause = 50; // milliseconds

} // namespace

bool bringRunningToFront(const std::string& application) {
    CInterprocessCommunicationWin channel(instanceMutexName(application), pipeBaseName(application));
    if (channel.isFirstInstance())
        return false;
    // The pipe serves one client at a time, and a third start at the same moment must not take the first
    // instance for gone. Without a connection the request fails.
    for (int attempt = 1; channel.connectToServer() == ERROR_PIPE_BUSY && attempt < kConnectAttempts;
         ++attempt)
        Sleep(kConnectPause);
    channel.sendRequest(kGetWindowRequest);
    const std::string reply = channel.lastReply();
    if (reply.empty())
        return false;
    // Any answer counts, also one that is no window: it shows that an instance is there.
    SetForegroundWindow(static_cast<HWND>(LongToHandle(std::atoi(reply.c_str()))));
    channel.sendRequest(kShowRequest);
    return true;
}

} // namespace ipc
