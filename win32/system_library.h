#pragma once

#include <windows.h>

namespace win32 {

/// \brief Loads a DLL from the system folder. A DLL of that name in another folder is never loaded. Allocates
/// nothing itself.
/// \param name File name, without a folder.
/// \return The module, which the caller owns; null on failure, with the error in GetLastError.
HMODULE loadSystemLibrary(const wchar_t* name);

} // namespace win32
