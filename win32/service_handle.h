#pragma once

#include "win32/owner.h"

#include <winsvc.h>

namespace win32 {

struct ServiceHandleTraits : NullableTraits<SC_HANDLE> {
    static void release(SC_HANDLE value) { CloseServiceHandle(value); }
};

/// The service manager, or a service.
using ServiceHandle = Owner<ServiceHandleTraits>;

} // namespace win32
