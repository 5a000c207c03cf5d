#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace text {

/// \brief Converts text of any code page to UTF-16, leniently: bytes that the code page does not know become
/// its replacement character.
/// \param codePage A Windows code page number; 0 is the ANSI code page of the system.
/// \param[out] wide Overwritten; its capacity is reused. Empty when the conversion fails.
/// \return The number of characters in \p wide.
std::size_t codePageToUtf16(std::string_view narrow, unsigned codePage, std::wstring& wide);

/// \brief A number in decimal digits.
std::wstring decimal(long long number);

} // namespace text
