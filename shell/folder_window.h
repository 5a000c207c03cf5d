#pragma once

#include "win32/com.h"

#include <functional>
#include <string>

#include <exdisp.h>

namespace shell {

/// \brief A file-manager window, as far as it could be opened up.
struct FolderWindow {
    win32::ComPointer<IShellView> shellView;
    win32::ComPointer<IFolderView> view;
    win32::ComPointer<IFolderView2> view2; ///< Empty where the window has it not.
};

/// \brief Opens or activates a file-manager window on a folder. Does not wait for it.
/// \return False when the folder cannot be found.
bool openFolderWindow(const std::wstring& folder);

/// \brief Visits the windows that show a folder, in any letter case. Those that fail on the way are passed
/// over.
/// \param folder A path with backslashes.
void visitFolderWindows(IShellWindows& windows, long count, const std::wstring& folder,
                        const std::function<void(const FolderWindow&)>& visit);

} // namespace shell
