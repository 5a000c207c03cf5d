#pragma once

#include <string>
#include <string_view>

namespace text {

/// \brief Removes white space, as std::iswspace defines it, from both ends.
std::wstring trimmed(std::wstring_view text);

} // namespace text
