#pragma once

#include <string_view>

namespace shell {

/// The identifier of the suite's browser extension.
inline constexpr std::string_view kExtensionId = "gmbkafodnhelcjpibgkmdoafhnecjlpb";

/// \brief Whether a browser's preferences list the extension: its identifier in quotes as the key of an
/// object.
///
/// The preferences are searched as text. Each byte is one character.
bool listsExtension(std::string_view preferences);

} // namespace shell
