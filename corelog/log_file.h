#pragma once

#include "win32/owner.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace CoreLog {

inline constexpr std::int64_t kLargestLog = 5'242'880; // bytes

/// \brief A bounded text file that several processes append to.
///
/// Before it would grow beyond \ref kLargestLog it is copied to the same name with ".1" added, replacing the
/// older copy, and emptied. While that older copy is in somebody's use, the file may grow to twice that size;
/// then it is emptied all the same. It is emptied rather than renamed, so that every process's open handle
/// stays on the current file. A lock on the file, which the system drops when its holder dies, covers both
/// the appending and the hand-over.
class LogFile {
public:
    /// Does nothing yet: most pieces of work log no line, and opening a file is the dearest part of it.
    explicit LogFile(std::wstring path) : path_(std::move(path)) {}

    /// \brief Appends the bytes in one piece. The first call opens the file, which is made when missing; its
    /// folder must exist.
    ///
    /// They are dropped when the file cannot be opened, or somebody else keeps the lock for seconds.
    void append(std::string_view bytes);

private:
    bool open();
    bool handOver(bool must) const;

    std::wstring path_;
    win32::KernelHandle file_;
};

} // namespace CoreLog
