#pragma once

#include <cstdint>

namespace win32 {

/// What the system tells about its version. All zero when it does not tell.
struct TOsVersion {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t revision = 0; ///< The update build revision; 0 below version 10.
    std::uint32_t build = 0;
};

inline constexpr std::int32_t kClassWindows10 = 120;
inline constexpr std::int32_t kClassWindows10Updated = 130; ///< Told by the revision, not by the build.
inline constexpr std::int32_t kClassWindows11 = 140;

/// \brief The class of a version, one of the numbers that the suite compares; 0 for an unknown version.
/// Classes do not all ascend with the versions: 6.1 is 90, and 81 from its build 7601 on.
std::int32_t versionClass(const TOsVersion& version);

} // namespace win32
