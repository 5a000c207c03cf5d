#include "shell/path_identity.h"

#include "win32/owner.h"

#include <algorithm>
#include <string_view>

namespace shell {
namespace {

/// Returns the text that `fill` writes to a buffer. `fill` returns the required size if the buffer is null.
template <class Fill>
std::wstring filled(Fill fill) {
    std::wstring text(fill(nullptr, 0), L'\0');
    text.resize(std::min<std::size_t>(fill(text.data(), static_cast<DWORD>(text.size())), text.size()));
    return text;
}

bool isSameText(std::wstring_view first, std::wstring_view second) {
    return CompareStringOrdinal(first.data(), static_cast<int>(first.size()), second.data(),
                                static_cast<int>(second.size()), TRUE) == CSTR_EQUAL;
}

/// Returns a full name without its prefix, such as "\\?\", and without trailing backslashes.
std::wstring plain(std::wstring name) {
    for (const wchar_t* prefix : {L"\\\\?\\", L"\\\\.\\", L"\\??\\"}) {
        if (!name.starts_with(prefix))
            continue;
        name.erase(0, 4);
        if (isSameText(std::wstring_view(name).substr(0, 4), L"UNC\\"))
            name.replace(0, 4, L"\\\\");
        break;
    }
    while (name.ends_with(L'\\'))
        name.pop_back();
    return name;
}

/// Appends a backslash. Without one, "C:" names the drive's current folder instead of its root.
std::wstring asListed(const std::wstring& path) {
    return path.ends_with(L'\\') ? path : path + L'\\';
}

std::wstring fullName(const std::wstring& path) {
    return filled([&](wchar_t* out, DWORD capacity) {
        return GetFullPathNameW(asListed(path).c_str(), capacity, out, nullptr);
    });
}

win32::KernelHandle openFolder(const std::wstring& path) {
    return win32::KernelHandle(CreateFileW(asListed(path).c_str(), 0,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                           OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

/// Returns the name of the folder to which a path leads after following links; empty if it cannot be opened.
std::wstring finalName(const std::wstring& path) {
    const win32::KernelHandle folder = openFolder(path);
    if (!folder)
        return {};
    return filled([&](wchar_t* out, DWORD capacity) {
        return GetFinalPathNameByHandleW(folder.get(), out, capacity, FILE_NAME_NORMALIZED);
    });
}

bool isRootName(const std::wstring& name) {
    const std::wstring text = plain(name);
    // "C:" has no backslash, "\\server\share" has three.
    return std::ranges::count(text, L'\\') <= (text.starts_with(L"\\\\") ? 3 : 0);
}

/// Removes the last component of a name.
void ascend(std::wstring& name) {
    while (name.ends_with(L'\\'))
        name.pop_back();
    name.erase(name.find_last_of(L'\\') + 1);
}

} // namespace

bool isSameFolder(const std::wstring& first, const std::wstring& second) {
    const win32::KernelHandle a = openFolder(first), b = openFolder(second);
    BY_HANDLE_FILE_INFORMATION ofA{}, ofB{};
    return a && b && GetFileInformationByHandle(a.get(), &ofA) && GetFileInformationByHandle(b.get(), &ofB) &&
           (ofA.nFileIndexHigh | ofA.nFileIndexLow) != 0 &&
           ofA.dwVolumeSerialNumber == ofB.dwVolumeSerialNumber && ofA.nFileIndexHigh == ofB.nFileIndexHigh &&
           ofA.nFileIndexLow == ofB.nFileIndexLow;
}

bool isRoot(const std::wstring& path) {
    const std::wstring final = finalName(path);
    return isRootName(fullName(path)) || (!final.empty() && isRootName(final));
}

bool holds(const std::wstring& folder, const std::wstring& other) {
    const std::wstring inner = plain(fullName(other)), outer = plain(fullName(folder));
    if (isSameText(std::wstring_view(inner).substr(0, outer.size()), outer) &&
        (inner.size() == outer.size() || inner[outer.size()] == L'\\'))
        return true;

    // Compare from the nearest existing ancestor up to the root.
    std::wstring name = fullName(other), final;
    while ((final = finalName(name)).empty() && !isRootName(name))
        ascend(name);
    for (; !final.empty() && !isSameFolder(final, folder); ascend(final))
        if (isRootName(final))
            return false;
    return !final.empty();
}

} // namespace shell
