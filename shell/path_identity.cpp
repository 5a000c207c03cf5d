#include "shell/path_identity.h"

#include "win32/owner.h"

#include <algorithm>

namespace shell {
namespace {

win32::KernelHandle open(const std::wstring& path) {
    return win32::KernelHandle(CreateFileW(path.c_str(), 0,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                           OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

/// The text that a function of the system gives away, which tells how much room it wants.
template <class Fill>
std::wstring filled(Fill fill) {
    std::wstring text(fill(nullptr, 0), L'\0');
    text.resize(std::min<std::size_t>(fill(text.data(), static_cast<DWORD>(text.size())), text.size()));
    return text;
}

/// A full path without the prefix for long ones, and without backslashes at its end.
std::wstring plain(std::wstring path) {
    if (path.starts_with(L"\\\\?\\UNC\\"))
        path.erase(2, 6);
    else if (path.starts_with(L"\\\\?\\") || path.starts_with(L"\\\\.\\"))
        path.erase(0, 4);
    while (path.ends_with(L'\\'))
        path.pop_back();
    return path;
}

std::wstring fullName(const std::wstring& path) {
    return plain(filled([&](wchar_t* out, DWORD capacity) {
        return GetFullPathNameW(path.c_str(), capacity, out, nullptr);
    }));
}

/// The name of what a path leads to; empty when that cannot be opened.
std::wstring finalName(const std::wstring& path) {
    const win32::KernelHandle file = open(path);
    if (!file)
        return {};
    return plain(filled([&](wchar_t* out, DWORD capacity) {
        return GetFinalPathNameByHandleW(file.get(), out, capacity, FILE_NAME_NORMALIZED);
    }));
}

bool beginsWithFolder(const std::wstring& path, const std::wstring& folder) {
    if (folder.empty() || path.size() < folder.size() ||
        (path.size() > folder.size() && path[folder.size()] != L'\\'))
        return false;
    const int length = static_cast<int>(folder.size());
    return CompareStringOrdinal(path.c_str(), length, folder.c_str(), length, TRUE) == CSTR_EQUAL;
}

} // namespace

bool isSameFile(const std::wstring& first, const std::wstring& second) {
    const win32::KernelHandle a = open(first), b = open(second);
    BY_HANDLE_FILE_INFORMATION ofA{}, ofB{};
    return a && b && GetFileInformationByHandle(a.get(), &ofA) && GetFileInformationByHandle(b.get(), &ofB) &&
           ofA.dwVolumeSerialNumber == ofB.dwVolumeSerialNumber && ofA.nFileIndexHigh == ofB.nFileIndexHigh &&
           ofA.nFileIndexLow == ofB.nFileIndexLow;
}

bool isRoot(const std::wstring& path) {
    const std::wstring full = fullName(path);
    // "C:" has no backslash, "\\server\share" has three.
    return std::ranges::count(full, L'\\') <= (full.starts_with(L"\\\\") ? 3 : 0);
}

bool holds(const std::wstring& folder, const std::wstring& other) {
    return beginsWithFolder(fullName(other), fullName(folder)) ||
           beginsWithFolder(finalName(other), finalName(folder));
}

} // namespace shell
