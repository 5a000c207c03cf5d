#pragma once

#include "sys/cs_wrapper.h"

#include <utility>

namespace sys {

/// \brief Holds a value and the lock that guards it.
///
/// Readers receive copies; no reference to the value outlives the lock. Each call acquires the lock
/// separately: two reads, even of two fields, can return different states of the value.
template <class T>
class CSafeDataHolder {
public:
    CSafeDataHolder() : CSafeDataHolder(T()) {}
    explicit CSafeDataHolder(T initial) {
        InitializeCriticalSection(&section_);
        set(std::move(initial));
    }
    CSafeDataHolder(const CSafeDataHolder&) = delete;
    CSafeDataHolder& operator=(const CSafeDataHolder&) = delete;
    virtual ~CSafeDataHolder() { DeleteCriticalSection(&section_); }

    /// \brief Returns a copy of the whole value.
    T get() const {
        const CsGuard guard(section_);
        return value_;
    }

    /// \brief Replaces the whole value.
    void set(T value) {
        const CsGuard guard(section_);
        value_ = std::move(value);
    }

    /// \brief Returns a copy of one field.
    template <class Owner, class Field>
    Field get(Field Owner::*field) const {
        const CsGuard guard(section_);
        return value_.*field;
    }

    /// \brief Replaces one field.
    template <class Owner, class Field>
    void set(Field Owner::*field, Field value) {
        const CsGuard guard(section_);
        value_.*field = std::move(value);
    }

    /// \brief Calls `work` with the value under the lock, for changes that depend on the current value.
    /// `work` must not keep a reference to the value and must not block.
    template <class Work>
    auto access(Work&& work) {
        const CsGuard guard(section_);
        return std::forward<Work>(work)(value_);
    }

private:
    mutable CRITICAL_SECTION section_;
    T value_{};
};

} // namespace sys
