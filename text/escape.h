#pragma once

#include <string>
#include <string_view>

namespace text {

/// \brief Escapes a value for use inside a JSON string.
///
/// Escapes quotes, backslashes, control characters and the ampersand. Replaces bytes of invalid UTF-8 by
/// U+FFFD, so that every JSON parser accepts the result. Writes the ampersand as \\u0026, because
/// `expandPlaceholders` treats an ampersand in its output as the start of a pair.
std::string jsonEscape(std::string_view value);

/// \brief Escapes a text for one line of a log.
///
/// Escapes control characters (\\n, \\r, \\t, \\xNN), replaces bytes of invalid UTF-8 by U+FFFD, and copies
/// everything else.
std::string lineEscape(std::string_view value);

/// \brief Percent-encodes every byte except the unreserved characters (letters, digits, "-", ".", "_", "~").
std::string percentEncode(std::string_view value);

} // namespace text
