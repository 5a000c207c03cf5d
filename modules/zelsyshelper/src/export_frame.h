#pragma once

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>

namespace frame {

/// Copies a caller's text: the caller may free it as soon as the export returns. Null counts as empty.
template <class Character>
std::basic_string<Character> owned(const Character* text) {
    return text != nullptr ? std::basic_string<Character>(text) : std::basic_string<Character>();
}

/// \brief Widens a result to a whole register: zero-extends booleans and unsigned numbers, and sign-extends
/// signed ones. Callers may declare the narrow or the wide type and read the same value.
template <std::integral Result>
std::uint64_t widened(Result result) {
    using Signed = std::conditional_t<std::is_signed_v<Result>, std::int64_t, std::uint64_t>;
    return static_cast<std::uint64_t>(static_cast<Signed>(result));
}

/// \brief Runs the work of an export. No exception leaves the library.
/// \param failure The result if the work throws.
template <std::integral Result, class Work>
std::uint64_t run(Result failure, Work&& work) noexcept {
    try {
        return widened(static_cast<Result>(std::forward<Work>(work)()));
    } catch (...) {
        return widened(failure);
    }
}

/// \brief Stores an output value of an export. Skips a null pointer.
template <class Value>
void put(Value* out, Value value) {
    if (out != nullptr)
        *out = value;
}

/// \brief Copies a value and its terminator to a caller's buffer.
///
/// Copies nothing unless the buffer has room for one more character: callers depend on that spare character.
/// \param capacity Size of the buffer in characters.
inline void copyOut(const std::wstring& value, wchar_t* buffer, std::uint32_t capacity) {
    if (buffer == nullptr || capacity <= value.size() + 1)
        return;
    std::ranges::copy(value, buffer);
    buffer[value.size()] = L'\0';
}

} // namespace frame
