#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <windows.h>

namespace testing_support {

/// Temporary folder. The destructor deletes it with its contents.
class TemporaryFolder {
public:
    TemporaryFolder() {
        static int count = 0;
        path_ = std::filesystem::temp_directory_path() /
                ("zelsys-test-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++count));
        std::filesystem::create_directories(path_);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    std::wstring operator/(const std::wstring& name) const { return (path_ / name).wstring(); }

private:
    std::filesystem::path path_;
};

inline void writeBytes(const std::wstring& path, const std::string& bytes) {
    std::ofstream(std::filesystem::path(path), std::ios::binary) << bytes;
}

inline std::string readBytes(const std::wstring& path) {
    std::ifstream stream(std::filesystem::path(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

inline HANDLE openToRead(const std::wstring& path, DWORD share) {
    return CreateFileW(path.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr);
}

/// \brief Returns the path of another file in the folder of this program.
inline std::wstring besideThisProgram(const std::wstring& name) {
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return std::filesystem::path(path).replace_filename(name).wstring();
}

/// \brief Returns the lowest free handle value, which grows by 4 with each leaked handle.
inline std::uintptr_t lowestFreeHandle() {
    const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    CloseHandle(event);
    return reinterpret_cast<std::uintptr_t>(event);
}

} // namespace testing_support
