#pragma once

#include <cstdint>

namespace win32 {

/// The version of the system. All zero if it is unknown.
struct TOsVersion {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t revision = 0; ///< The update build revision; 0 below version 10.
    std::uint32_t build = 0;
};

inline constexpr std::int32_t kClassWindows10 = 120;
inline constexpr std::int32_t kClassWindows10Updated = 130; ///< From revision 10001 on, below build 22000.
inline constexpr std::int32_t kClassWindows11 = 140;

/// \brief Returns the class of a version, a number that the suite compares; 0 for an unknown version.
/// Classes do not always ascend with versions: 6.1 is 90, but 6.1 from build 7601 on is 81.
std::int32_t versionClass(const TOsVersion& version);

} // namespace win32
