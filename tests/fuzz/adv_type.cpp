// Compares the parser with a regular expression, and checks the first and last pick of each variant.
#include "ui/common/stat/adv_type.h"
#include "fuzz.h"

#include <regex>

void check(FuzzedDataProvider& input) {
    static const std::regex entry("\\s*([A-Za-z])(\\d+)"), end("\\s*([A-Za-z][^]*)?");
    const std::string definition = input.ConsumeRemainingBytesAsString();
    std::string rest = definition;
    std::vector<stats::TTestVariant> expected;
    for (std::smatch at; std::regex_search(rest, at, entry, std::regex_constants::match_continuous);
         rest = at.suffix().str())
        if (const std::uint64_t weight = std::strtoul(at.str(2).c_str(), nullptr, 0))
            expected.push_back({at.str(1)[0], weight});
    if (!std::regex_match(rest, end))
        expected.clear();
    const auto variants = stats::parseTestDefinition(definition);
    require(variants.size() == expected.size());
    std::uint64_t total = 0;
    for (std::size_t i = 0; i < variants.size(); ++i) {
        const auto& [letter, weight] = variants[i];
        require(letter == expected[i].letter && weight == expected[i].weight);
        if (__builtin_add_overflow(total, weight, &total))
            return;
        for (const std::uint64_t pick : {total - weight + 1, total})
            require(stats::variantAt(variants, pick) == letter);
    }
    const char drawn = stats::drawVariant(variants);
    require(variants.empty() ? drawn == 0 : definition.find(drawn) != definition.npos);
}
