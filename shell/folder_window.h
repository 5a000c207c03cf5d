#pragma once

#include "win32/com.h"

#include <functional>
#include <string>

#include <exdisp.h>

namespace shell {

/// \brief The interfaces of a file-manager window's view.
struct FolderWindow {
    win32::ComPointer<IShellView> shellView;
    win32::ComPointer<IFolderView> view;
    win32::ComPointer<IFolderView2> view2; ///< Null if the window does not support it.
};

/// \brief Opens or activates a file-manager window on a folder. Does not wait for it.
/// \return False if ILCreateFromPathW does not find the folder.
bool openFolderWindow(const std::wstring& folder);

/// \brief Calls `visit` for each window that shows a folder. Skips windows whose interfaces fail.
/// \param count Number of windows in `windows`.
/// \param folder A path with backslashes. Case is ignored.
void visitFolderWindows(IShellWindows& windows, long count, const std::wstring& folder,
                        const std::function<void(const FolderWindow&)>& visit);

} // namespace shell
