#include "ipc/window_request_handler.h"

#include "ipc/bring_to_front.h"

namespace ipc {

CWindowRequestHandler::CWindowRequestHandler(std::function<HWND()> mainWindow, std::function<void()> show)
    : mainWindow_(std::move(mainWindow)), show_(std::move(show)) {
}

void CWindowRequestHandler::onRequest(std::uint32_t, const std::string& payload) {
    reply.clear();
    if (payload == kGetWindowRequest) {
        // Window handles have 32 significant bits in 64-bit processes too.
        reply = std::to_string(HandleToLong(mainWindow_()));
    } else if (payload == kShowRequest) {
        show_();
        reply = "shown";
    }
}

} // namespace ipc
