#pragma once

#include <utility>

#include <windows.h>

namespace win32 {

/// \brief Owns one resource of the system and releases it in its destructor.
///
/// \tparam Traits Says what is owned: `Type`, `empty()` (the value that means "nothing owned") and
/// `release(Type)`. Values that the system itself uses for "failed" count as empty too, see `isValid`.
template <class Traits>
class Owner {
public:
    using Type = typename Traits::Type;

    Owner() = default;
    explicit Owner(Type value) : value_(value) {}
    Owner(Owner&& other) noexcept : value_(other.detach()) {}
    Owner& operator=(Owner&& other) noexcept {
        reset(other.detach());
        return *this;
    }
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;
    ~Owner() { reset(); }

    Type get() const { return value_; }
    Type operator->() const { return value_; }
    explicit operator bool() const { return Traits::isValid(value_); }

    /// Gives the resource away; the caller releases it.
    Type detach() { return std::exchange(value_, Traits::empty()); }

    void reset(Type value = Traits::empty()) {
        if (Traits::isValid(value_))
            Traits::release(value_);
        value_ = value;
    }

    /// For functions that return the resource through a pointer. Releases what was owned before.
    Type* receive() {
        reset();
        return &value_;
    }

private:
    Type value_ = Traits::empty();
};

/// Shared by all resources that are pointers or handles whose empty value is null.
template <class T>
struct NullableTraits {
    using Type = T;
    static Type empty() { return nullptr; }
    static bool isValid(Type value) { return value != nullptr; }
};

struct KernelHandleTraits : NullableTraits<HANDLE> {
    static bool isValid(HANDLE value) { return value != nullptr && value != INVALID_HANDLE_VALUE; }
    static void release(HANDLE value) { CloseHandle(value); }
};

struct FindHandleTraits : KernelHandleTraits {
    static void release(HANDLE value) { FindClose(value); }
};

struct LibraryTraits : NullableTraits<HMODULE> {
    static void release(HMODULE value) { FreeLibrary(value); }
};

/// Files, events, threads, mutexes. INVALID_HANDLE_VALUE counts as empty.
using KernelHandle = Owner<KernelHandleTraits>;
/// A listing of a folder.
using FindHandle = Owner<FindHandleTraits>;
/// A DLL that was loaded at run time.
using Library = Owner<LibraryTraits>;

} // namespace win32
