#pragma once

#include "win32/owner.h"

#include <functional>
#include <string>
#include <string_view>

namespace fs {

inline constexpr int kStatusNoFile = 100002;     ///< no path, or no such file
inline constexpr int kStatusFileFailed = 100004; ///< a file could not be read or written

/// Whether a file that is only partly written can still be read.
enum class FileForm {
    plain,     ///< Yes: zero bytes at its end are not contents.
    enciphered ///< No: each byte depends on others.
};

// Every function retries an open that fails with ERROR_SHARING_VIOLATION or ERROR_LOCK_VIOLATION for 250 ms.

/// \brief Reads a whole file.
///
/// Acquires the lock of \ref SharedFile, for at most 2 s, unless the file is plain, at most 4096 bytes long
/// and was last written more than 250 ms ago. A plain directory is no file; one with any further attribute
/// (read-only, hidden, not indexed) counts as a file that cannot be read.
/// \param[out] contents The bytes of the file; unspecified when the call fails.
/// \return 0, \ref kStatusNoFile or \ref kStatusFileFailed.
int readFile(const std::wstring& path, FileForm form, std::string& contents);

/// \brief Reads a plain file in pieces. Retries and locks like `readFile`.
/// \param take Called with each piece, which is valid during the call.
/// \return As `readFile`; pieces may have been taken before a failure.
int readPieces(const std::wstring& path, const std::function<void(std::string_view)>& take);

/// \brief Empties an existing file. Does nothing if there is none, or another process keeps it open.
void emptyFile(const std::wstring& path);

/// \brief A file that is read, changed in memory and written back in place, while other processes do the
/// same.
///
/// Holds an advisory lock from its construction to its end, so that savers take turns. The lock is best
/// effort: a holder that keeps it for 2 s, or a file system without byte locks, does not prevent the change.
/// Savers that meet without the lock can damage the file.
class SharedFile {
public:
    /// Opens the file and creates it when missing. A failure is reported by `replace`.
    explicit SharedFile(const std::wstring& path);

    /// \brief Reads what the file holds.
    /// \param[out] contents Empty if the file cannot be read.
    /// \return True if the file existed and was read.
    /// \throws std::bad_alloc, std::length_error if the contents do not fit into memory.
    bool read(FileForm form, std::string& contents);

    /// \brief Replaces the contents of the file.
    ///
    /// Never truncates before writing. While the lock is held, readers see the old or the new contents. A
    /// killed process leaves one of them too, except that an enciphered file that shrinks can keep the end of
    /// the old bytes and is then unreadable. A full disk leaves the old contents.
    /// \param old What `read` has returned.
    /// \return 0 or \ref kStatusFileFailed.
    int replace(std::string_view contents, std::string_view old, FileForm form);

private:
    int overwrite(std::string_view contents);
    bool isUnchanged(std::string_view contents) const;

    std::wstring path_;
    DWORD error_ = ERROR_SUCCESS; ///< Of the opening.
    win32::KernelHandle file_;
    bool existed_ = false;
    bool isLocked_ = false;
};

} // namespace fs
