#pragma once

#include <cstddef>
#include <string_view>

namespace shell {

/// The identifier of the suite's browser extension.
inline constexpr std::string_view kExtensionId = "gmbkafodnhelcjpibgkmdoafhnecjlpb";

/// \brief Looks whether a browser's preferences list the extension: its identifier in quotes as the key of an
/// object.
///
/// The preferences are searched as text, each byte of which is one character. They come in pieces, of which nothing is
/// kept.
class ExtensionSearch {
public:
    /// \brief Takes the next piece.
    /// \return Whether the extension is listed, as far as was read.
    bool take(std::string_view piece);

private:
    bool takeOne(char c);

    std::size_t matched_ = 0; ///< How much of the quoted identifier has just gone by.
    bool hasColon_ = false;   ///< Behind all of it.
    bool isFound_ = false;
};

} // namespace shell
