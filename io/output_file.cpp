#include "io/output_file.h"

namespace io {
namespace {

constexpr std::uint32_t kNotOpen = 10;

/// Moves the file pointer to the end of the file.
/// \return 0, or the error of SetFilePointer.
DWORD moveToEnd(HANDLE file) {
    LONG high = 0;
    SetLastError(ERROR_SUCCESS);
    const DWORD low = SetFilePointer(file, 0, &high, FILE_END);
    return low == INVALID_SET_FILE_POINTER ? ::GetLastError() : ERROR_SUCCESS;
}

/// Returns true for a path that Windows resolves to a device. Before Windows 11, names such as CON and COM1
/// are devices in any folder.
bool isDevice(const std::wstring& path) {
    std::wstring full(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
    full.resize(GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    return full.starts_with(L"\\\\.\\");
}

} // namespace

std::uint32_t COStreamFile::open(const std::wstring& path) {
    if (path.empty())
        return ERROR_INVALID_PARAMETER;
    if (file_.access([](const auto& file) { return static_cast<bool>(file); }))
        return ERROR_ALREADY_EXISTS;
    // Opening a serial port changes the state of its lines, so the name is checked first.
    if (isDevice(path))
        return ERROR_INVALID_NAME;
    win32::KernelHandle file(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                         CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
        return ::GetLastError();
    // A device that the name does not reveal would discard the data.
    if (GetFileType(file.get()) != FILE_TYPE_DISK)
        return ERROR_INVALID_NAME;
    file_.set(std::move(file));
    return 0;
}

std::uint32_t COStreamFile::Write(const char* buffer, std::uint32_t count) {
    lastError_ = 0;
    if (buffer == nullptr || count == 0)
        return 0;
    const HANDLE file = file_.access([](const auto& held) { return held ? held.get() : nullptr; });
    if (file == nullptr) {
        lastError_ = kNotOpen;
        return 0;
    }
    std::uint32_t written = 0;
    while (written < count) {
        lastError_ = moveToEnd(file);
        DWORD part = 0;
        if (lastError_ != 0)
            return written;
        if (!WriteFile(file, buffer, count - written, &part, nullptr)) {
            lastError_ = ::GetLastError();
            return written;
        }
        if (part == 0) { // otherwise the loop would not end
            lastError_ = ERROR_WRITE_FAULT;
            return written;
        }
        written += part;
    }
    return written;
}

} // namespace io
