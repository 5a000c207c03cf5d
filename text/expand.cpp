#include "text/expand.h"

#include <algorithm>

namespace text {
namespace {

bool isNameCharacter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
}

} // namespace

std::size_t expandPlaceholders(std::string_view pattern, const PlaceholderValues& values, bool keepPair,
                               std::string& expanded) {
    expanded.clear();
    std::size_t dropped = 0;
    std::size_t copied = 0; // end of the part of the pattern that has been copied or replaced
    for (auto open = pattern.find('{'); open != pattern.npos; open = pattern.find('{', open + 1)) {
        const auto name = pattern.substr(open + 1);
        const auto nameEnd =
            open + 1 +
            static_cast<std::size_t>(std::ranges::find_if_not(name, isNameCharacter) - name.begin());
        if (nameEnd == pattern.size())
            break;
        if (pattern[nameEnd] != '}' || nameEnd == open + 1)
            continue;

        expanded.append(pattern, copied, open - copied);
        copied = nameEnd + 1;
        const auto value = values.find(pattern.substr(open + 1, nameEnd - open - 1));
        if (value != values.end() && !value->second.empty()) {
            expanded += value->second;
        } else if (!keepPair) {
            ++dropped;
            expanded.resize(std::min(expanded.rfind('&'), expanded.size()));
        }
    }
    expanded.append(pattern, copied);
    return dropped;
}

} // namespace text
