#pragma once

#include <cstdint>

namespace shell {

inline constexpr std::uint32_t kExtensionListed = 0;
inline constexpr std::uint32_t kExtensionAbsent = 318;
inline constexpr std::uint32_t kNoLocalAppData = 1'000'000; ///< Plus the low 16 bits of the failure.

/// \brief Whether the browser's default profile of this user lists the suite's extension.
///
/// A running browser does not block the reading.
/// \return \ref kExtensionListed, \ref kExtensionAbsent (also when there are no preferences that can be
///         read), or
/// a number from \ref kNoLocalAppData on when the user's folder cannot be found.
std::uint32_t extensionState();

} // namespace shell
