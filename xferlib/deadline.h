#pragma once

#include <algorithm>
#include <climits>

#include <windows.h>

namespace xferlib {

/// A moment by which everything has to be over.
///
/// By the system's ticks: the runtime's own clock would bring a library for threads into the DLL.
class Deadline {
public:
    /// \param time In milliseconds.
    explicit Deadline(int time) : end_(GetTickCount64() + static_cast<ULONGLONG>(time)) {}

    /// What is left, in milliseconds, as Windows wants a time-out: never 0, which would mean "none".
    int remaining() const {
        const auto left = static_cast<long long>(end_ - GetTickCount64());
        return static_cast<int>(std::clamp<long long>(left, 1, INT_MAX));
    }

    bool isOver() const { return GetTickCount64() >= end_; }

private:
    ULONGLONG end_;
};

} // namespace xferlib
