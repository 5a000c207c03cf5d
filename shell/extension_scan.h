#pragma once

#include <cstddef>
#include <string_view>

namespace shell {

/// The identifier of the suite's browser extension.
inline constexpr std::string_view kExtensionId = "gmbkafodnhelcjpibgkmdoafhnecjlpb";

/// \brief Searches a browser's preferences for the extension: its identifier in quotes, a colon and "{".
///
/// Searches bytes and does not parse the JSON text. The text arrives in pieces, which are not stored.
class ExtensionSearch {
public:
    /// \brief Searches the next piece. A match may span pieces.
    /// \return True if the pieces so far list the extension.
    bool take(std::string_view piece);

private:
    bool takeOne(char c);

    std::size_t matched_ = 0; ///< Number of characters of the quoted identifier matched so far.
    bool hasColon_ = false;   ///< A colon follows the whole quoted identifier.
    bool isFound_ = false;
};

} // namespace shell
