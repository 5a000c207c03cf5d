#include "win32/version_class.h"

#include <gtest/gtest.h>

namespace {

TEST(VersionClass, EveryBorder) {
    const struct {
        win32::TOsVersion version; // major, minor, revision, build
        int expected;
    } cases[] = {
        {{0, 0, 0, 0}, 0},
        {{4, 0, 0, 1381}, 0},
        {{5, 0, 0, 2195}, 50},
        {{5, 1, 0, 2600}, 51},
        {{5, 2, 0, 3789}, 52},
        {{5, 2, 0, 3790}, 60},
        {{5, 3, 0, 9999}, 0},
        {{6, 0, 0, 6001}, 70},
        {{6, 0, 0, 6002}, 80},
        {{6, 1, 0, 7600}, 90},
        {{6, 1, 0, 7601}, 81},
        {{6, 2, 0, 9200}, 100},
        {{6, 3, 0, 9600}, 101},
        {{6, 4, 0, 9841}, 0},
        {{10, 0, 0, 10240}, 120},
        {{10, 0, 10000, 21999}, 120},
        {{10, 0, 10001, 10240}, 130},
        {{10, 0, ~0u, 21999}, 130},
        {{10, 0, 0, 22000}, 140},
        {{10, 1, ~0u, ~0u}, 140},
        {{11, 0, 0, 30000}, 0},
    };
    for (const auto& [version, expected] : cases)
        EXPECT_EQ(win32::versionClass(version), expected) << version.major << "." << version.build;
}

} // namespace
