#pragma once

#include <string>

namespace ipc {

/// Asks for the handle of the main window, as a decimal number.
inline constexpr char kGetWindowRequest[] = "/gethwnd";
/// Asks the application to show its window. Sent after SetForegroundWindow.
inline constexpr char kShowRequest[] = "/show";

/// \brief Brings the running instance of an application to the front.
///
/// Normally takes milliseconds. Blocks for up to 16 seconds: 6 while the pipe is busy with another client,
/// and 5 for the reply to each of two requests. Opening the pipe by the computer's name is not part of this
/// bound: CreateFileW takes as long as the network stack blocks.
/// \return True if another instance answered the request for its window handle.
bool bringRunningToFront(const std::string& application);

} // namespace ipc
