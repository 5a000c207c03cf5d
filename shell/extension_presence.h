#pragma once

#include <cstdint>

namespace shell {

inline constexpr std::uint32_t kExtensionListed = 0;
inline constexpr std::uint32_t kExtensionAbsent = 318;
inline constexpr std::uint32_t kNoLocalAppData = 1'000'000; ///< The low 16 bits of an HRESULT are added.

/// \brief Checks whether this user's default profile of the browser lists the suite's extension.
///
/// Reads the preferences file even while the browser has it open.
/// \return \ref kExtensionListed; \ref kExtensionAbsent, also if the preferences are missing or cannot be
///         read; or \ref kNoLocalAppData plus the low 16 bits of the error of SHGetFolderPathW.
std::uint32_t extensionState();

} // namespace shell
