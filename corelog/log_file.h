#pragma once

#include "win32/owner.h"

#include <cstdint>
#include <string>
#include <string_view>

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
    /// \brief Opens the file, which is made when missing; its folder must exist.
    /// \return 0 or a Windows error number.
    unsigned long open(const std::wstring& path);

    /// \brief Appends the bytes in one piece. They are dropped when somebody else keeps the lock for seconds.
    void append(std::string_view bytes) const;

private:
    bool handOver(bool must) const;

    std::wstring path_;
    win32::KernelHandle file_;
};

} // namespace CoreLog
