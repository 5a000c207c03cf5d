#pragma once

#include "win32/owner.h"

#include <winreg.h>

namespace win32 {

struct RegistryKeyTraits : NullableTraits<HKEY> {
    static void release(HKEY value) { RegCloseKey(value); }
};

using RegistryKey = Owner<RegistryKeyTraits>;

} // namespace win32
