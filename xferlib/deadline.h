#pragma once

#include <algorithm>
#include <climits>

#include <windows.h>

namespace xferlib {

/// The time at which an operation times out.
///
/// Uses GetTickCount64: with MinGW, std::chrono::steady_clock would link a POSIX thread library into the DLL.
class Deadline {
public:
    /// \param time In milliseconds.
    explicit Deadline(int time) : end_(GetTickCount64() + static_cast<ULONGLONG>(time)) {}

    /// Returns the remaining milliseconds, at least 1: WinHttpSetTimeouts treats 0 as infinite.
    int remaining() const {
        const auto left = static_cast<long long>(end_ - GetTickCount64());
        return static_cast<int>(std::clamp<long long>(left, 1, INT_MAX));
    }

    bool isOver() const { return GetTickCount64() >= end_; }

private:
    ULONGLONG end_;
};

} // namespace xferlib
