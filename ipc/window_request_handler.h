#pragma once

#include "ipc/request_handler.h"

#include <functional>

#include <windows.h>

namespace ipc {

/// \brief Request handler of an application that later instances bring to the front.
///
/// Answers "/gethwnd" with the main window's handle, and calls a function of the application for "/show".
class CWindowRequestHandler : public IRequestHandler {
public:
    /// Stores the functions, which the listener thread calls.
    /// \param mainWindow Returns the main window's handle, or null while there is none. Null is also a reply:
    ///                   the later instance treats this one as running.
    /// \param show Shows the application, for instance by posting a message to its window.
    CWindowRequestHandler(std::function<HWND()> mainWindow, std::function<void()> show);

    void onRequest(std::uint32_t senderProcessId, const std::string& payload) override;

private:
    std::function<HWND()> mainWindow_;
    std::function<void()> show_;
};

} // namespace ipc
