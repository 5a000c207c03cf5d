#pragma once

#include "sys/mutex.h"

#include <mutex>

namespace sys {

/// \brief Tells one thread of this process that something has happened; taking note of it sets it back.
///
/// It is to be had without a handle of the system, so making it neither fails nor takes long.
class Signal {
public:
    void set() {
        const std::lock_guard guard(mutex_);
        isSet_ = true;
        WakeConditionVariable(&changed_);
    }

    /// \param time In milliseconds.
    /// \return Whether it was set by then.
    bool wait(ULONGLONG time) {
        const std::lock_guard guard(mutex_);
        const ULONGLONG end = GetTickCount64() + time;
        for (ULONGLONG now = end - time; !isSet_ && now < end; now = GetTickCount64())
            mutex_.sleep(changed_, static_cast<DWORD>(end - now));
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
