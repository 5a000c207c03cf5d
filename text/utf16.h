#pragma once

#include <string>
#include <string_view>
#include <type_traits>

namespace text {

/// A UTF-16 code unit: wchar_t if it has 16 bits (Windows), otherwise char16_t.
using Utf16Unit = std::conditional_t<sizeof(wchar_t) == 2, wchar_t, char16_t>;

/// \brief Converts UTF-16 to UTF-8.
///
/// A pair of surrogates becomes one four-byte sequence. A high surrogate without a following low surrogate is
/// dropped. A lone low surrogate is encoded as a three-byte sequence of its own value. The rest of the text
/// is preserved.
std::string utf16ToUtf8(std::basic_string_view<Utf16Unit> wide);

/// \brief Converts UTF-8 to UTF-16. Rejects invalid input as a whole.
/// \return The text up to its first null character; empty if the input is not valid UTF-8.
std::basic_string<Utf16Unit> utf8ToUtf16(std::string_view narrow);

} // namespace text
