#include "ui/common/stat/adv_type.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <string>

namespace stats {
namespace {

// isalpha and isspace depend on the locale of the process and are undefined for negative characters.
bool isLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

} // namespace

std::vector<TTestVariant> parseTestDefinition(std::string_view definition) {
    std::vector<TTestVariant> variants;
    std::size_t at = 0;
    while (at < definition.size()) {
        const char c = definition[at++];
        if (isSpace(c))
            continue;
        if (!isLetter(c))
            return {};
        const std::size_t end = std::min(definition.find_first_not_of("0123456789", at), definition.size());
        if (end == at)
            break;
        const std::string digits(definition.substr(at, end - at));
        if (const std::uint64_t weight = std::strtoul(digits.c_str(), nullptr, 0))
            variants.push_back({c, weight});
        at = end;
    }
    return variants;
}

char variantAt(const std::vector<TTestVariant>& variants, std::uint64_t pick) {
    for (const auto& [letter, weight] : variants) {
        if (weight >= pick)
            return letter;
        pick -= weight;
    }
    return 0;
}

char drawVariant(const std::vector<TTestVariant>& variants) {
    std::uint64_t total = 0;
    for (const auto& variant : variants)
        total += variant.weight;
    if (total == 0)
        return 0;
    [[maybe_unused]] static const bool isSeeded = [] {
        std::srand(static_cast<unsigned>(std::time(nullptr)));
        return true;
    }();
    return variantAt(variants, static_cast<std::uint64_t>(std::rand()) % total + 1);
}

} // namespace stats
