#include "shell/extension_presence.h"

#include "shell/extension_scan.h"
#include "win32/owner.h"

#include <vector>

#include <shlobj.h>
#include <shlwapi.h>

namespace shell {
namespace {

constexpr DWORD kPiece = 65'536; // bytes

/// Returns true if the file lists the extension. A read error counts as the end of the file. A file that
/// cannot be opened counts as empty.
bool isListedIn(const wchar_t* path) {
    const win32::KernelHandle file(CreateFileW(path, GENERIC_READ,
                                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                               nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    ExtensionSearch search;
    std::vector<char> piece(kPiece);
    DWORD got = 0;
    while (file && ReadFile(file.get(), piece.data(), kPiece, &got, nullptr) && got != 0)
        if (search.take({piece.data(), got}))
            return true;
    return false;
}

} // namespace

std::uint32_t extensionState() {
    wchar_t path[MAX_PATH] = L"";
    const HRESULT result = SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, nullptr, 0, path);
    if (FAILED(result))
        return kNoLocalAppData + static_cast<std::uint32_t>(HRESULT_CODE(result));
    if (!PathAppendW(path, L"Google\\Chrome\\User Data\\Default\\Preferences"))
        return kExtensionAbsent;
    const DWORD attributes = GetFileAttributesW(path);
    // A folder with further attributes passes this check. CreateFileW then fails with ERROR_ACCESS_DENIED.
    if (attributes == INVALID_FILE_ATTRIBUTES || attributes == FILE_ATTRIBUTE_DIRECTORY)
        return kExtensionAbsent;
    return isListedIn(path) ? kExtensionListed : kExtensionAbsent;
}

} // namespace shell
