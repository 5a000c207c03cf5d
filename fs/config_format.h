#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace fs {

/// Keys and values as plain bytes, ordered by the bytes of the key.
using ConfigValues = std::map<std::string, std::string, std::less<>>;

/// \brief Parses the contents of a configuration file into `values`.
///
/// One key=value per line feed; the first "=" divides. Carriage returns and trailing zero bytes do not count,
/// lines without "=" are ignored, nothing is trimmed. A key that `values` already holds keeps its value, so
/// the first occurrence in a file wins.
void parseConfig(std::string_view contents, ConfigValues& values);

/// \brief The value that `parseConfig` would give to one key, without parsing the rest.
/// \return Nothing when the key is not there.
std::optional<std::string> findInConfig(std::string_view contents, std::string_view key);

/// \brief The contents of a configuration file that holds `values`: a line each, ended by a line feed, in the
/// order of the keys. Entries with an empty value are left out.
std::string serialiseConfig(const ConfigValues& values);

} // namespace fs
