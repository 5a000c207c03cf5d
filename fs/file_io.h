#pragma once

#include "win32/owner.h"

#include <functional>
#include <string>
#include <string_view>

namespace fs {

inline constexpr int kStatusNoFile = 100002;      ///< no path, or no such file
inline constexpr int kStatusFileFailed = 100004;  ///< a file could not be read or written
inline constexpr int kStatusEmptyStream = 100007; ///< the runtime opened a file and gave no stream

/// How the bytes of a file depend on one another.
enum class FileForm {
    plain,     ///< Zero bytes at the end do not count as contents.
    enciphered ///< Every byte counts: a file that was changed in part cannot be read.
};

// Another process may hold the file open, as readers, savers and virus scanners do for moments. All functions
// here try to open such a file again for 250 ms before they fail.

/// \brief Reads a whole file. Waits up to 2 s for a process that is saving it, unless it is plain and at most
/// a page.
///
/// A plain directory is no file. A directory with any further attribute (read-only, hidden, not indexed)
/// counts as a file that cannot be read.
/// \param[out] contents The bytes of the file; unspecified when the call fails.
/// \return 0; \ref kStatusNoFile; EBUSY if another process kept the file from being opened; another error
/// number of the C runtime, or \ref kStatusEmptyStream.
int readFile(const std::wstring& path, FileForm form, std::string& contents);

/// \brief Reads a plain file in pieces, with the same waiting.
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
class SharedFile {
public:
    /// Opens the file and creates it when missing. A failure is reported by `replace`.
    explicit SharedFile(const std::wstring& path);

    /// \brief Reads what the file holds.
    /// \return False if there was no file, or it cannot be read; \p contents is then empty.
    /// \throws std::bad_alloc, std::length_error if the contents do not fit into memory.
    bool read(std::string& contents);

    /// \brief Replaces the contents of the file.
    ///
    /// A reader sees the old or the new contents, never an empty file: nothing is truncated before it is
    /// overwritten. A process that is killed leaves the old or the new contents of a plain file, and of an
    /// enciphered one that does not get shorter. A full disk leaves the old ones.
    /// \param old What `read` has returned.
    /// \return 0 or \ref kStatusFileFailed.
    int replace(std::string_view contents, std::string_view old, FileForm form);

private:
    int overwrite(std::string_view contents);

    std::wstring path_;
    DWORD error_ = ERROR_SUCCESS; ///< Of the opening.
    win32::KernelHandle file_;
    bool existed_ = false;
};

} // namespace fs
