#pragma once

#include <algorithm>
#include <chrono>
#include <climits>

namespace xferlib {

/// A moment by which everything has to be over.
class Deadline {
public:
    explicit Deadline(std::chrono::milliseconds time) : end_(Clock::now() + time) {}

    /// What is left, in milliseconds, as Windows wants a time-out: never 0, which would mean "none".
    int remaining() const {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end_ - Clock::now()).count();
        return static_cast<int>(std::clamp<long long>(left, 1, INT_MAX));
    }

    bool isOver() const { return Clock::now() >= end_; }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point end_;
};

} // namespace xferlib
