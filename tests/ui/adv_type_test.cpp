#include "ui/common/stat/adv_type.h"

#include <map>

#include <gtest/gtest.h>

namespace {

TEST(AdvType, DrawsByWeight) {
    constexpr double kDraws = 80000;
    const auto variants = stats::parseTestDefinition("A8 B5 C2 D1");
    std::map<char, double> counts;
    for (int i = 0; i < kDraws; ++i)
        ++counts[stats::drawVariant(variants)];
    double chiSquare = 0;
    for (const auto& [letter, weight] : variants) {
        const double expected = kDraws * static_cast<double>(weight) / 16;
        chiSquare += (counts[letter] - expected) * (counts[letter] - expected) / expected;
    }
    EXPECT_LT(chiSquare, 31) << "three degrees of freedom: exceeded less than once in a million runs";
}

} // namespace
