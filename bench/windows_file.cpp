#include "bench/windows_file.h"

#include "win32/owner.h"

namespace bench {

bool readWhole(const std::wstring& path, std::string& bytes) {
    if (GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES)
        return false;
    const win32::KernelHandle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                               nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER size{};
    if (!file || !GetFileSizeEx(file.get(), &size))
        return false;
    bytes.resize(static_cast<std::size_t>(size.QuadPart));
    DWORD count = 0;
    return ReadFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr) &&
           count == bytes.size();
}

bool writeWhole(const std::wstring& path, std::string_view bytes) {
    const win32::KernelHandle file(CreateFileW(path.c_str(), GENERIC_WRITE,
                                               FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, CREATE_ALWAYS,
                                               FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD count = 0;
    return file && WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr) &&
           count == bytes.size();
}

} // namespace bench
