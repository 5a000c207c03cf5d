#pragma once

#include "win32/version_class.h"

#include <string>

namespace win32 {

/// \brief The true version of the system, also where it tells older programs another.
TOsVersion osVersion();

/// \brief Whether a process runs whose executable has this name, in any letter case.
/// \param name A file name with its extension. A path never matches.
bool isModuleRunning(const std::wstring& name);

} // namespace win32
