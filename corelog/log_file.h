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
/// Before it would grow beyond \ref kLargestLog its end is copied to the same name with ".1" added, which
/// replaces the older copy, and the file is emptied. If the copy fails, the file may grow to twice the limit;
/// it is then emptied without a copy. It is emptied rather than renamed, so that the open handles of all
/// processes stay on the current file. An advisory lock covers both appending and hand-over; the system drops
/// it when its holder dies.
class LogFile {
public:
    /// Does not open the file: most operations log nothing, and opening is the expensive part.
    explicit LogFile(std::wstring path) : path_(std::move(path)) {}

    /// \brief Appends the bytes. The first call opens the file and creates it when missing; its folder must
    /// exist.
    ///
    /// Under the lock the bytes are appended whole or not at all. A file system without byte locks is used
    /// without the lock. A holder that keeps the lock for 2 s costs a process that time once: until the lock
    /// is free again, lines are appended without it. Nothing is reported when the file cannot be opened or
    /// the disk is full.
    void append(std::string_view bytes);

private:
    bool open();
    std::uint64_t handOver(std::uint64_t size) const;

    std::wstring path_;
    win32::KernelHandle file_;
};

} // namespace CoreLog
