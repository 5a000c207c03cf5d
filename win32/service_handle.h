#pragma once

#include "win32/owner.h"

#include <winsvc.h>

namespace win32 {

struct ServiceHandleTraits : NullableTraits<SC_HANDLE> {
    static void release(SC_HANDLE value) { CloseServiceHandle(value); }
};

/// Owns a handle to the service control manager or to a service. Released with CloseServiceHandle.
using ServiceHandle = Owner<ServiceHandleTraits>;

} // namespace win32
