#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace text {

using PlaceholderValues = std::map<std::string, std::string, std::less<>>;

/// \brief Puts values into a template whose placeholders are names in braces.
///
/// A placeholder is "{", a name of ASCII letters, digits, "-" and "_", and "}". Everything else, braces
/// included, is copied as it stands. Values are copied unchanged and are not searched for placeholders.
///
/// \param values What stands for a name; a name that is absent counts as empty.
/// \param keepPair What to do with an empty value: true drops the placeholder alone; false also cuts the
/// output written so far at its last "&", so that "a={A}&b={B}" loses "&b=".
/// \param[out] expanded Overwritten with the result.
/// \return How many placeholders were dropped with \p keepPair false.
std::size_t expandPlaceholders(std::string_view pattern, const PlaceholderValues& values, bool keepPair,
                               std::string& expanded);

} // namespace text
