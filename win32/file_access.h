#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include <windows.h>

// Access to an open file at a given offset in bytes. Moves the file pointer: a handle serves one thread at a
// time.
namespace win32 {

/// \brief Reads until `size` bytes are there or the file ends.
/// \param[out] got How many bytes were read, also before an error.
/// \return False if the system reports an error.
bool readAt(HANDLE file, std::uint64_t offset, char* out, std::size_t size, std::size_t& got);

/// \brief Writes all bytes, up to 1 GiB of them in one call of the system.
/// \return False if the system reports an error, a full disk for instance; some of the bytes may be written
/// then.
bool writeAt(HANDLE file, std::uint64_t offset, std::string_view bytes);

/// \brief Writes at the end that the file has at that moment: two processes that do so do not overwrite each
/// other.
/// \return False if not all of the bytes were written.
bool appendTo(HANDLE file, std::string_view bytes);

/// \brief Cuts or extends the file to `size`.
bool setFileSize(HANDLE file, std::uint64_t size);

} // namespace win32
