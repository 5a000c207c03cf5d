#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include <windows.h>

// Access to an open file at an offset in bytes. Reads and writes move the file pointer: use a handle from one
// thread at a time.
namespace win32 {

/// \brief Reads `size` bytes, or fewer if the file ends first.
/// \param[out] got Number of bytes read, also on failure.
/// \return False if SetFilePointerEx or ReadFile fails.
bool readAt(HANDLE file, std::uint64_t offset, char* out, std::size_t size, std::size_t& got);

/// \brief Writes all bytes, at most 1 GiB with each call of WriteFile.
/// \return False if SetFilePointerEx or WriteFile fails, for instance with ERROR_DISK_FULL. The file may then
/// contain some of the bytes.
bool writeAt(HANDLE file, std::uint64_t offset, std::string_view bytes);

/// \brief Appends atomically with one call of WriteFile: concurrent appends do not overwrite each other.
/// \param bytes At most 1 GiB.
/// \return False if WriteFile did not write all bytes.
bool appendTo(HANDLE file, std::string_view bytes);

/// \brief Truncates or extends the file to `size` bytes.
/// \return False if SetFileInformationByHandle fails.
bool setFileSize(HANDLE file, std::uint64_t size);

} // namespace win32
