#pragma once

#include "win32/version_class.h"

#include <string>

namespace win32 {

/// \brief Returns the true version of the system, from RtlGetVersion. All zero on failure.
///
/// GetVersionExW returns an older version to programs whose manifest does not name the system.
TOsVersion osVersion();

/// \brief Returns true if a running process has an executable of this name, in any letter case.
/// \param name A file name with its extension. A path never matches.
bool isModuleRunning(const std::wstring& name);

} // namespace win32
