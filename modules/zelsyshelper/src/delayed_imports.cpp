#include <windows.h>

#include <delayimp.h>

namespace {

INT_PTR WINAPI missingFunction() {
    SetLastError(ERROR_PROC_NOT_FOUND);
    return 0;
}

/// Loads DLLs of the system from its own folder only: one of that name that somebody has put elsewhere is no
/// substitute.
FARPROC WINAPI onDelayedLoad(unsigned step, PDelayLoadInfo info) {
    if (step != dliNotePreLoadLibrary)
        return nullptr;
    return reinterpret_cast<FARPROC>(LoadLibraryExA(info->szDll, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
}

/// Where the system lacks a DLL or a function, calls fail instead of ending the process. Any module does for a DLL
/// that is missing, as the function is not found in it either.
FARPROC WINAPI onDelayedFailure(unsigned step, PDelayLoadInfo) {
    if (step == dliFailLoadLib)
        return reinterpret_cast<FARPROC>(GetModuleHandleW(nullptr));
    return reinterpret_cast<FARPROC>(&missingFunction);
}

[[maybe_unused]] const bool kHooksAreSet = [] {
    __pfnDliNotifyHook2 = onDelayedLoad;
    __pfnDliFailureHook2 = onDelayedFailure;
    return true;
}();

} // namespace
