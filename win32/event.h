#pragma once

#include "win32/owner.h"

namespace win32 {

enum class EventState { clear, set };

/// \brief Creates a manual-reset event without a name.
/// \return Empty if CreateEventW fails; GetLastError then returns its error.
inline KernelHandle makeEvent(EventState state = EventState::clear) {
    return KernelHandle(CreateEventW(nullptr, TRUE, state == EventState::set, nullptr));
}

} // namespace win32
