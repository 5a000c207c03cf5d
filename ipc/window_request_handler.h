#pragma once

#include "ipc/request_handler.h"

#include <functional>

#include <windows.h>

namespace ipc {

/// \brief The handler for an application that wants to be brought to the front.
///
/// Answers "/gethwnd" with the main window's handle, and calls a function of the application for "/show".
class CWindowRequestHandler : public IRequestHandler {
public:
    /// Both functions are called on the listener thread.
    /// \param mainWindow Gives the main window's handle, null while there is none, which still
    /// tells the other instance that this one is there.
    /// \param show Asks the application to show itself; posts a message to its window, for instance.
    CWindowRequestHandler(std::function<HWND()> mainWindow, std::function<void()> show);

    void onRequest(std::uint32_t senderProcessId, const std::string& payload) override;

private:
    std::function<HWND()> mainWindow_;
    std::function<void()> show_;
};

} // namespace ipc
