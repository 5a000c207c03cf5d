#pragma once

#include <windows.h>

namespace sys {

/// \brief One critical section of the system.
///
/// May be entered again by the thread that holds it. There is no virtual destructor: an instance lives and
/// dies by its static type.
class CCsWrapper {
public:
    CCsWrapper() { InitializeCriticalSection(&section_); }
    CCsWrapper(const CCsWrapper&) = delete;
    CCsWrapper& operator=(const CCsWrapper&) = delete;
    ~CCsWrapper() { DeleteCriticalSection(&section_); }

    virtual void Enter() { EnterCriticalSection(&section_); }
    virtual void Leave() { LeaveCriticalSection(&section_); }

    /// \return Whether the section was taken.
    virtual bool TryEnter() { return TryEnterCriticalSection(&section_) != FALSE; }

    /// The section itself, for \ref CsGuard.
    CRITICAL_SECTION& section() { return section_; }

private:
    CRITICAL_SECTION section_;
};

/// \brief Holds a critical section for as long as it lives.
class CsGuard {
public:
    explicit CsGuard(CRITICAL_SECTION& section) : section_(section) { EnterCriticalSection(&section_); }
    CsGuard(const CsGuard&) = delete;
    CsGuard& operator=(const CsGuard&) = delete;
    ~CsGuard() { LeaveCriticalSection(&section_); }

private:
    CRITICAL_SECTION& section_;
};

} // namespace sys
