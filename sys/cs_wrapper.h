#pragma once

#include <windows.h>

namespace sys {

/// \brief Wraps a CRITICAL_SECTION.
///
/// The thread that holds it may enter it again. The destructor is not virtual: do not delete a derived object
/// through a pointer to this class.
class CCsWrapper {
public:
    CCsWrapper() { InitializeCriticalSection(&section_); }
    CCsWrapper(const CCsWrapper&) = delete;
    CCsWrapper& operator=(const CCsWrapper&) = delete;
    ~CCsWrapper() { DeleteCriticalSection(&section_); }

    virtual void Enter() { EnterCriticalSection(&section_); }
    virtual void Leave() { LeaveCriticalSection(&section_); }

    /// \return True if the section was acquired.
    virtual bool TryEnter() { return TryEnterCriticalSection(&section_) != FALSE; }

    /// Returns the section for \ref CsGuard.
    CRITICAL_SECTION& section() { return section_; }

private:
    CRITICAL_SECTION section_;
};

/// \brief Holds a critical section for the lifetime of the guard.
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
