#include "ipc/bring_to_front.h"

#include "ipc/channel.h"
#include "ipc/channel_names.h"

#include <cstdlib>

namespace ipc {
namespace {

constexpr DWORD kLongestConnect = 6000; // milliseconds; the listener drops a silent client after 5 seconds

} // namespace

bool bringRunningToFront(const std::string& application) {
    CInterprocessCommunicationWin channel(instanceMutexName(application), pipeBaseName(application));
    if (channel.isFirstInstance())
        return false;
    // Wait while the running instance serves another client, even a silent one: a busy instance must not
    // appear absent. Without a connection sendRequest fails.
    channel.connectToServer(kLongestConnect);
    channel.sendRequest(kGetWindowRequest);
    const std::string reply = channel.lastReply();
    if (reply.empty())
        return false;
    // Any reply counts, even one that is not a window handle: it proves that an instance is running.
    SetForegroundWindow(static_cast<HWND>(LongToHandle(std::atoi(reply.c_str()))));
    channel.sendRequest(kShowRequest);
    return true;
}

} // namespace ipc
