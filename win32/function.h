#pragma once

#include <windows.h>

namespace win32 {

/// \brief Returns the address of a function that a DLL exports.
/// \tparam Function Type of the pointer.
/// \param module May be null.
/// \return Null without a module, or if GetProcAddress fails; GetLastError then returns its error.
template <class Function>
Function findFunction(HMODULE module, const char* name) {
    const FARPROC found = module != nullptr ? GetProcAddress(module, name) : nullptr;
    // Casting through void* avoids -Wcast-function-type.
    return reinterpret_cast<Function>(reinterpret_cast<void*>(found));
}

} // namespace win32
