#pragma once

#include <windows.h>

namespace sys {

/// \brief A mutex that needs no memory and no destruction, so neither taking it nor the end of the process can fail.
///
/// For `std::lock_guard`. It must not be taken again by the thread that holds it.
class Mutex {
public:
    Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() { AcquireSRWLockExclusive(&lock_); }
    void unlock() { ReleaseSRWLockExclusive(&lock_); }

    /// \brief Lets go of it until `condition` is woken or the time is over, or for no reason at all.
    void sleep(CONDITION_VARIABLE& condition, DWORD milliseconds) {
        SleepConditionVariableSRW(&condition, &lock_, milliseconds, 0);
    }

private:
    SRWLOCK lock_ = SRWLOCK_INIT;
};

} // namespace sys
