#pragma once

#include "win32/owner.h"

#include <winhttp.h>

namespace win32 {

struct WinHttpHandleTraits : NullableTraits<HINTERNET> {
    static void release(HINTERNET value) { WinHttpCloseHandle(value); }
};

/// A WinHTTP session, connection or request.
using WinHttpHandle = Owner<WinHttpHandleTraits>;

} // namespace win32
