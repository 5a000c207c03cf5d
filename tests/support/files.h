#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <windows.h>

namespace testing_support {

/// A folder of its own for one test; goes away with everything in it.
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

/// \brief The path of another program of the same build.
inline std::wstring besideThisProgram(const std::wstring& name) {
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return std::filesystem::path(path).replace_filename(name).wstring();
}

/// \brief Grows by 4 with each handle that is left open.
inline std::uintptr_t lowestFreeHandle() {
    const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    CloseHandle(event);
    return reinterpret_cast<std::uintptr_t>(event);
}

} // namespace testing_support
