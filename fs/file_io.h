#pragma once

#include "win32/owner.h"

#include <functional>
#include <string>
#include <string_view>

namespace fs {

inline constexpr int kStatusNoFile = 100002;     ///< no path, or no such file
inline constexpr int kStatusFileFailed = 100004; ///< a file could not be read or written

/// Whether readers can use a partly written file.
enum class FileForm {
    plain,     ///< Yes: readers ignore trailing zero bytes.
    enciphered ///< No: each byte depends on others.
};

// Every function retries an open that fails with ERROR_SHARING_VIOLATION or ERROR_LOCK_VIOLATION for 250 ms.

/// \brief Reads a whole file.
///
/// Waits up to 2 s for the lock of \ref SharedFile. After a time-out, reads without it. Skips the lock if the
/// file is plain, has at most 4096 bytes and was last written more than 250 ms ago. A directory counts as no
/// file if its only attribute is FILE_ATTRIBUTE_DIRECTORY. A directory with further attributes (read-only,
/// hidden, not indexed) counts as a file that cannot be read.
/// \param[out] contents The bytes of the file; unspecified if the call fails.
/// \return 0, \ref kStatusNoFile or \ref kStatusFileFailed.
int readFile(const std::wstring& path, FileForm form, std::string& contents);

/// \brief Reads a plain file in pieces. Retries and locks like `readFile`.
/// \param take Receives each piece. The piece is invalid once `take` has returned.
/// \return As `readFile`. Before a failure, `take` may have received some pieces.
/// \throws std::bad_alloc, and any exception of `take`.
int readPieces(const std::wstring& path, const std::function<void(std::string_view)>& take);

/// \brief Truncates an existing file to 0 bytes. Does nothing if the file is missing or another handle to it
/// is open.
void emptyFile(const std::wstring& path);

/// \brief Reads a file and writes it back in place while other processes do the same.
///
/// Holds an advisory lock from construction to destruction, so that savers take turns. The lock is best
/// effort: after a time-out of 2 s, or on a file system without byte locks, the change is made without it.
/// Concurrent savers without the lock can corrupt the file.
class SharedFile {
public:
    /// Opens the file, or creates it if it is missing. `replace` reports a failure.
    explicit SharedFile(const std::wstring& path);

    /// \brief Reads the current contents of the file.
    /// \param[out] contents Empty if the file cannot be read.
    /// \return True if the file existed and was read.
    /// \throws std::bad_alloc, std::length_error if the contents do not fit into memory.
    bool read(FileForm form, std::string& contents);

    /// \brief Replaces the contents of the file.
    ///
    /// While the lock is held, readers see either the old or the new contents. If the process is killed, the
    /// file has either of them, with two exceptions. A file that shrinks can keep the end of its old bytes if
    /// it is enciphered or above 16 MiB; an enciphered file is then unreadable. A file that denies reading is
    /// truncated first and can lose its old contents, also on a full disk. On a full disk, any other file
    /// keeps its old contents.
    /// \param old The contents that `read` returned.
    /// \return 0 or \ref kStatusFileFailed.
    int replace(std::string_view contents, std::string_view old, FileForm form);

private:
    int overwrite(std::string_view contents);

    std::wstring path_;
    DWORD error_ = ERROR_SUCCESS; ///< GetLastError after CreateFileW, also on success.
    win32::KernelHandle file_;
    bool existed_ = false;
    bool isLocked_ = false;
};

} // namespace fs
