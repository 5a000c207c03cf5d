#pragma once

#include <string>
#include <string_view>
#include <type_traits>

namespace text {

/// A UTF-16 code unit: wchar_t where that has 16 bits (Windows), char16_t elsewhere.
using Utf16Unit = std::conditional_t<sizeof(wchar_t) == 2, wchar_t, char16_t>;

/// \brief Converts UTF-16 to UTF-8.
///
/// A pair of surrogates becomes one four-byte sequence. A high surrogate that no low surrogate follows is
/// dropped; a lone low surrogate is encoded as a three-byte sequence of its own value, so that nothing else
/// of the text is lost.
std::string utf16ToUtf8(std::basic_string_view<Utf16Unit> wide);

/// \brief Converts UTF-8 to UTF-16, strictly.
/// \return The text up to its first zero character; empty when the input is not valid UTF-8.
std::basic_string<Utf16Unit> utf8ToUtf16(std::string_view narrow);

} // namespace text
