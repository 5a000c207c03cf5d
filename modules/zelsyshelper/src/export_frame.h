#pragma once

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>

namespace frame {

/// A caller's text as an owned one, so that the caller may free it once the export has returned. Null is
/// empty.
template <class Character>
std::basic_string<Character> owned(const Character* text) {
    return text != nullptr ? std::basic_string<Character>(text) : std::basic_string<Character>();
}

/// \brief Widens a result to a whole register: booleans and unsigned numbers by zeros, signed ones by their
/// sign, so that callers that declare the narrower type read the same value as those that declare the wider
/// one.
template <std::integral Result>
std::uint64_t widened(Result result) {
    using Signed = std::conditional_t<std::is_signed_v<Result>, std::int64_t, std::uint64_t>;
    return static_cast<std::uint64_t>(static_cast<Signed>(result));
}

/// \brief Runs the work of an export: nothing that it throws leaves the library.
/// \param failure The result when the work ends by an exception.
template <std::integral Result, class Work>
std::uint64_t run(Result failure, Work&& work) noexcept {
    try {
        return widened(static_cast<Result>(std::forward<Work>(work)()));
    } catch (...) {
        return widened(failure);
    }
}

/// \brief Gives a value to a caller; a null output is skipped.
template <class Value>
void put(Value* out, Value value) {
    if (out != nullptr)
        *out = value;
}

/// \brief Copies a value to a caller, but only when one more character than the value and its terminator need
/// would fit: callers rely on that spare character.
inline void copyOut(const std::wstring& value, wchar_t* buffer, std::uint32_t capacity) {
    if (buffer == nullptr || capacity <= value.size() + 1)
        return;
    std::ranges::copy(value, buffer);
    buffer[value.size()] = L'\0';
}

} // namespace frame
