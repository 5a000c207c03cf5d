#include "win32/system_library.h"

#include "win32/path.h"

namespace win32 {

HMODULE loadSystemLibrary(const wchar_t* name) {
    // A full path instead of LOAD_LIBRARY_SEARCH_SYSTEM32, which Windows 7 without updates refuses.
    wchar_t folder[MAX_PATH];
    const UINT length = GetSystemDirectoryW(folder, MAX_PATH);
    if (length == 0 || length >= MAX_PATH)
        return nullptr;
    const std::wstring path = joinPath({folder, length}, name);
    return LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
}

} // namespace win32
