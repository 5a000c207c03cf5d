#pragma once

#include "win32/owner.h"

#include <winreg.h>

namespace win32 {

struct RegistryKeyTraits : NullableTraits<HKEY> {
    static void release(HKEY value) { RegCloseKey(value); }
};

/// Owns an open registry key. Released with RegCloseKey.
using RegistryKey = Owner<RegistryKeyTraits>;

} // namespace win32
