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

private:
    SRWLOCK lock_ = SRWLOCK_INIT;
};

} // namespace sys
