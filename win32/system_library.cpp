#include "win32/system_library.h"

#include <cwchar>

namespace win32 {

HMODULE loadSystemLibrary(const wchar_t* name) {
    // A full path instead of LOAD_LIBRARY_SEARCH_SYSTEM32, which Windows 7 without updates refuses.
    wchar_t path[MAX_PATH];
    const UINT length = GetSystemDirectoryW(path, MAX_PATH);
    if (length == 0)
        return nullptr;
    if (length + 1 + std::wcslen(name) >= MAX_PATH) {
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
        return nullptr;
    }
    path[length] = L'\\';
    std::wcscpy(path + length + 1, name);
    return LoadLibraryExW(path, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
}

} // namespace win32
