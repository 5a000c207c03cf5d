#include "shell/extension_presence.h"

#include "shell/extension_scan.h"
#include "win32/owner.h"

#include <string>

#include <shlobj.h>
#include <shlwapi.h>

namespace shell {
namespace {

constexpr DWORD kLargestRead = 1u << 20;

/// The bytes of a file up to a failure.
std::string readShared(const wchar_t* path) {
    const win32::KernelHandle file(CreateFileW(path, GENERIC_READ,
                                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                               nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    std::string bytes;
    DWORD got = 0;
    do {
        const std::size_t size = bytes.size();
        bytes.resize(size + kLargestRead);
        if (!file || !ReadFile(file.get(), bytes.data() + size, kLargestRead, &got, nullptr))
            got = 0;
        bytes.resize(size + got);
    } while (got != 0);
    return bytes;
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
    // A folder that carries more attributes passes here, and then cannot be read.
    if (attributes == INVALID_FILE_ATTRIBUTES || attributes == FILE_ATTRIBUTE_DIRECTORY)
        return kExtensionAbsent;
    return listsExtension(readShared(path)) ? kExtensionListed : kExtensionAbsent;
}

} // namespace shell
