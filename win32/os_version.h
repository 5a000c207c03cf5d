#pragma once

#include "win32/version_class.h"

namespace win32 {

/// \brief Returns the true version of the system, from RtlGetVersion. All zero on failure.
///
/// GetVersionExW returns an older version to programs whose manifest does not name the system.
TOsVersion osVersion();

} // namespace win32
