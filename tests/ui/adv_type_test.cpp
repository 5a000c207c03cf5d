#include "ui/common/stat/adv_type.h"

#include <map>
#include <string>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

TEST(AdvType, Definitions) {
    const struct {
        std::string definition;
        std::string variants;
    } cases[] = {
        {"", ""},
        {"A70 B30", "A70 B30 "},
        {"a1b2\t\r\n\v\fA3", "a1 b2 A3 "},
        {" A010 B08 C0 D1", "A8 D1 "}, // octal, no octal number, no weight
        {"A1 B C2", "A1 "},
        {"A1 B-5", "A1 "},
        {"A1 B2 ", "A1 B2 "},
        {"A0x10", "x10 "}, // only digits make a weight
        {"A", ""},
        {"A1,B2", ""},
        {"A1 2", ""},
        {"-A1", ""},
        {"A1 \xC4", ""},
        {"A1\0B2"s, ""},
        {"A4294967295", "A4294967295 "},
    };
    for (const auto& c : cases) {
        std::string variants;
        for (const auto& [letter, weight] : stats::parseTestDefinition(c.definition))
            variants += letter + std::to_string(weight) + " ";
        EXPECT_EQ(variants, c.variants) << c.definition;
    }
}

TEST(AdvType, EachVariantIsAsLongAsItsWeight) {
    const auto variants = stats::parseTestDefinition("A70 B29 C1");
    const std::pair<int, char> cases[] = {{1, 'A'}, {70, 'A'}, {71, 'B'}, {99, 'B'}, {100, 'C'}, {101, 0}};
    for (const auto& [pick, letter] : cases)
        EXPECT_EQ(stats::variantAt(variants, static_cast<std::uint64_t>(pick)), letter) << pick;
    EXPECT_EQ(stats::drawVariant({}), 0);
    EXPECT_EQ(stats::drawVariant(stats::parseTestDefinition("Q3")), 'Q');
}

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
