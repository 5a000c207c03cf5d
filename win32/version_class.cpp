#include "win32/version_class.h"

namespace win32 {
namespace {

constexpr std::uint32_t kAnyMinor = ~0u;

struct Row {
    std::uint32_t major;
    std::uint32_t minor;
    std::uint32_t lowestBuild;
    std::uint32_t lowestRevision;
    std::int32_t versionClass;
};

// The first matching row decides.
constexpr Row kRows[] = {
    {10, kAnyMinor, 22000, 0, kClassWindows11},
    {10, kAnyMinor, 0, 10001, kClassWindows10Updated},
    {10, kAnyMinor, 0, 0, kClassWindows10},
    {6, 3, 0, 0, 101},
    {6, 2, 0, 0, 100},
    {6, 1, 7601, 0, 81},
    {6, 1, 0, 0, 90},
    {6, 0, 6002, 0, 80},
    {6, 0, 0, 0, 70},
    {5, 2, 3790, 0, 60},
    {5, 2, 0, 0, 52},
    {5, 1, 0, 0, 51},
    {5, 0, 0, 0, 50},
};

} // namespace

std::int32_t versionClass(const TOsVersion& version) {
    for (const Row& row : kRows)
        if (version.major == row.major && (row.minor == kAnyMinor || version.minor == row.minor) &&
            version.build >= row.lowestBuild && version.revision >= row.lowestRevision)
            return row.versionClass;
    return 0;
}

} // namespace win32
