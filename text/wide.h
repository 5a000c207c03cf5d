#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace text {

/// \brief Converts text of any code page to UTF-16. MultiByteToWideChar replaces invalid bytes.
/// \param codePage A Windows code page number; 0 (CP_ACP) is the ANSI code page of the system.
/// \param[out] wide Overwritten; its capacity is reused. Empty if the conversion fails.
/// \return Length of \p wide; 0 if the conversion fails or \p narrow is empty.
std::size_t codePageToUtf16(std::string_view narrow, unsigned codePage, std::wstring& wide);

/// \brief Converts UTF-16 to any code page. WideCharToMultiByte replaces characters that the code page lacks.
/// \param codePage A Windows code page number; 0 (CP_ACP) is the ANSI code page of the system.
/// \return Empty if the conversion fails or \p wide is empty.
std::string utf16ToCodePage(std::wstring_view wide, unsigned codePage);

/// \brief Returns a number as decimal digits.
std::wstring decimal(long long number);

} // namespace text
