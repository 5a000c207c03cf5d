#include "ipc/bring_to_front.h"

#include "ipc/channel.h"
#include "ipc/channel_names.h"

#include <cstdlib>

namespace ipc {

bool bringRunningToFront(const std::string& application) {
    CInterprocessCommunicationWin channel(instanceMutexName(application), pipeBaseName(application));
    if (channel.isFirstInstance())
        return false;
    channel.connectToServer(); // without a connection the request fails
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
