#include "text/trim.h"

#include <algorithm>
#include <cwctype>

namespace text {

std::wstring trimmed(std::wstring_view text) {
    const auto isSpace = [](wchar_t c) { return std::iswspace(static_cast<std::wint_t>(c)) != 0; };
    const auto first = std::find_if_not(text.begin(), text.end(), isSpace);
    const auto last = std::find_if_not(text.rbegin(), std::make_reverse_iterator(first), isSpace).base();
    return {first, last};
}

} // namespace text
