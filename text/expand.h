#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace text {

using PlaceholderValues = std::map<std::string, std::string, std::less<>>;

/// \brief Replaces the placeholders of a template by values.
///
/// A placeholder is "{", a name of ASCII letters, digits, "-" and "_", and "}". Everything else, including
/// other braces, is copied unchanged. Values are copied unchanged and are not searched for placeholders.
///
/// \param pattern The template.
/// \param values Maps names to values; an absent name counts as empty.
/// \param keepPair Handling of an empty value. True removes only the placeholder. False also truncates the
/// output at its last "&", so that "a={A}&b={B}" loses "&b=".
/// \param[out] expanded Overwritten with the result.
/// \return Number of placeholders with an empty value; always 0 if \p keepPair is true.
std::size_t expandPlaceholders(std::string_view pattern, const PlaceholderValues& values, bool keepPair,
                               std::string& expanded);

} // namespace text
