#pragma once

#include "win32/owner.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace CoreLog {

inline constexpr std::uint64_t kLargestLog = 5'242'880; // bytes

/// \brief A bounded text file that several processes append to.
///
/// If an append would exceed \ref kLargestLog, the end of the file is first copied to the same path with ".1"
/// appended, over an older copy, and the file is truncated to 0 bytes. If the copy fails, the file may grow
/// to twice the limit; it is then truncated without a copy. The file is not renamed, so that the open handles
/// of all processes stay on the current log. An advisory lock covers appending, copying and truncating. The
/// system releases the lock when its holder dies.
class LogFile {
public:
    /// Does not open the file: most operations log nothing, and opening is the expensive part.
    explicit LogFile(std::wstring path) : path_(std::move(path)) {}

    /// \brief Appends the bytes. The first call opens or creates the file; its folder must exist.
    ///
    /// Under the lock, appends all bytes or none. On a file system without byte locks, appends without the
    /// lock. After a time-out of 2 s, all calls of this process append without lock, wait or truncation,
    /// until one of them acquires the lock. Failures of CreateFileW and WriteFile are not reported.
    void append(std::string_view bytes);

private:
    bool open();
    std::uint64_t handOver(std::uint64_t size) const;

    std::wstring path_;
    win32::KernelHandle file_;
};

} // namespace CoreLog
