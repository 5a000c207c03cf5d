#pragma once

#include <utility>

#include <windows.h>

namespace win32 {

/// \brief Owns one resource of the system and releases it in its destructor.
///
/// \tparam Traits Defines `Type`, `empty()` (the value of an owner without a resource), `isValid(Type)` and
/// `release(Type)`. `isValid` returns false for `empty()` and for the failure value of the API, such as
/// INVALID_HANDLE_VALUE.
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

    /// Transfers ownership to the caller.
    Type detach() { return std::exchange(value_, Traits::empty()); }

    void reset(Type value = Traits::empty()) {
        if (Traits::isValid(value_))
            Traits::release(value_);
        value_ = value;
    }

    /// Releases the owned resource and returns the address for an API that writes to an out parameter.
    Type* receive() {
        reset();
        return &value_;
    }

private:
    Type value_ = Traits::empty();
};

/// Base of the traits of all pointers and handles whose empty value is null.
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

/// Owns a file, event, thread or mutex handle. Released with CloseHandle. INVALID_HANDLE_VALUE counts as
/// empty.
using KernelHandle = Owner<KernelHandleTraits>;
/// Owns a search handle of FindFirstFileW. Released with FindClose.
using FindHandle = Owner<FindHandleTraits>;
/// Owns a reference to a loaded DLL. Released with FreeLibrary.
using Library = Owner<LibraryTraits>;

} // namespace win32
