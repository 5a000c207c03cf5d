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

/// \brief Looks for one value in a configuration file that comes in pieces, and keeps nothing of other
/// lines, however long they are.
class ConfigSearch {
public:
    explicit ConfigSearch(std::string_view key) : key_(key) {}

    /// What a line is known to have: another key, nothing yet, or the key that is looked for.
    enum class Beginning { other, unknown, found };

    /// Takes the next piece of the file.
    void take(std::string_view piece);

    /// \brief The value that `parseConfig` would give to the key; nothing when the key is not there. To be
    /// called once, behind the last piece.
    std::optional<std::string> finish();

private:
    void lookAt(std::string_view line);
    void begin(std::string_view line);

    std::string_view key_;
    std::string
        begun_; ///< The beginning of a line that the next piece goes on with; empty where it has another key.
    Beginning beginning_ = Beginning::unknown;
    std::optional<std::string> value_;
};

/// \brief The contents of a configuration file that holds `values`: a line each, ended by a line feed, in the
/// order of the keys. Entries with an empty value are left out.
std::string serialiseConfig(const ConfigValues& values);

} // namespace fs
