#pragma once

#include <string>
#include <string_view>

namespace text {

/// \brief Escapes a value for the inside of a JSON string.
///
/// Quotes, backslashes, all control characters and the ampersand are escaped; bytes that are not valid UTF-8
/// become the replacement character U+FFFD, so the result is valid in every JSON parser. The ampersand is
/// written as \\u0026 because the placeholder expansion takes one in its output for the start of a pair.
std::string jsonEscape(std::string_view value);

/// \brief Makes a text fit on one line of a log: control characters are escaped (\\n, \\r, \\t, \\xNN),
/// invalid UTF-8 becomes U+FFFD, everything else stays.
std::string lineEscape(std::string_view value);

/// \brief Percent-encodes every byte except the unreserved characters (letters, digits, "-", ".", "_", "~").
std::string percentEncode(std::string_view value);

} // namespace text
