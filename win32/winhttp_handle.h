#pragma once

#include "win32/owner.h"

#include <winhttp.h>

namespace win32 {

struct WinHttpHandleTraits : NullableTraits<HINTERNET> {
    static void release(HINTERNET value) { WinHttpCloseHandle(value); }
};

/// Owns a WinHTTP session, connection or request. Released with WinHttpCloseHandle.
using WinHttpHandle = Owner<WinHttpHandleTraits>;

} // namespace win32
