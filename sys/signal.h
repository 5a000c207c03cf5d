#pragma once

#include "sys/mutex.h"

#include <mutex>

namespace sys {

/// \brief Auto-reset event for one waiting thread of this process.
///
/// Uses no kernel handle: construction is cheap and cannot fail.
class Signal {
public:
    /// Sets the event. Uses no guard, so that the function ends with a tail call: the thread that waits may
    /// unload this code as soon as the mutex is free, see `xferlib::AsyncRequest`.
    void set() {
        mutex_.lock();
        isSet_ = true;
        WakeConditionVariable(&changed_);
        mutex_.unlock();
    }

    /// \brief Blocks until the event is set or the time-out expires, then resets the event.
    /// \param time Time-out in milliseconds.
    /// \return True if the event was set in time.
    bool wait(ULONGLONG time) {
        const std::lock_guard guard(mutex_);
        const ULONGLONG begin = GetTickCount64();
        for (ULONGLONG waited = 0; !isSet_ && waited < time; waited = GetTickCount64() - begin)
            mutex_.sleep(changed_, static_cast<DWORD>(time - waited));
        const bool was = isSet_;
        isSet_ = false;
        return was;
    }

private:
    Mutex mutex_;
    CONDITION_VARIABLE changed_ = CONDITION_VARIABLE_INIT;
    bool isSet_ = false;
};

} // namespace sys
