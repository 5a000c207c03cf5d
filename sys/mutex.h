#pragma once

#include <windows.h>

namespace sys {

/// \brief Non-recursive mutex for `std::lock_guard`, based on an SRWLOCK.
///
/// Needs no allocation and no destructor: acquiring it cannot fail, and static objects may use it at process
/// exit.
class Mutex {
public:
    Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() { AcquireSRWLockExclusive(&lock_); }
    void unlock() { ReleaseSRWLockExclusive(&lock_); }

    /// \brief Releases the mutex and waits for `condition` or the time-out, then reacquires it. May wake
    /// spuriously.
    void sleep(CONDITION_VARIABLE& condition, DWORD milliseconds) {
        SleepConditionVariableSRW(&condition, &lock_, milliseconds, 0);
    }

private:
    SRWLOCK lock_ = SRWLOCK_INIT;
};

} // namespace sys
