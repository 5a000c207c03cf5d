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
/// Lines end with a line feed and hold key=value; the first "=" separates the two. Ignores carriage returns,
/// trailing zero bytes and lines without "=". Trims nothing. A key that `values` already holds keeps its
/// value, so the first occurrence in a file wins.
void parseConfig(std::string_view contents, ConfigValues& values);

/// \brief Finds one value in a configuration file that arrives in pieces.
///
/// Buffers the beginning of a line that continues in the next piece, until it differs from the key.
class ConfigSearch {
public:
    /// \param key Not copied; must outlive the search.
    explicit ConfigSearch(std::string_view key) : key_(key) {}

    /// Result of comparing the start of a line: another key, too short to decide, or the wanted key.
    enum class Beginning { other, unknown, found };

    /// Consumes the next piece of the file.
    void take(std::string_view piece);

    /// \brief Returns the value that `parseConfig` would store for the key, or `std::nullopt` if the key is
    /// absent. Call once, after the last piece.
    std::optional<std::string> finish();

private:
    void inspect(std::string_view line);
    void begin(std::string_view line);

    std::string_view key_;
    /// The start of a line that continues in the next piece; empty if the line holds another key.
    std::string begun_;
    Beginning beginning_ = Beginning::unknown;
    std::optional<std::string> value_;
};

/// \brief Returns the contents of a configuration file: one line per entry, ended by a line feed, in key
/// order. Omits entries with an empty value.
std::string serialiseConfig(const ConfigValues& values);

} // namespace fs
