#pragma once

#include <string>

namespace ipc {

/// The request for the decimal handle of the main window.
inline constexpr char kGetWindowRequest[] = "/gethwnd";
/// The request to show itself, sent after the window was brought to the front.
inline constexpr char kShowRequest[] = "/show";

/// \brief Brings the running instance of an application to the front.
///
/// Blocks for some milliseconds where no instance runs, normally for less than half a second where one does.
/// Where it refuses to answer, some six seconds; where it keeps the connection and says nothing, as long as
/// it does.
/// \return Whether another instance has answered with a window handle.
bool bringRunningToFront(const std::string& application);

} // namespace ipc
