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

} // namespace testing_support
