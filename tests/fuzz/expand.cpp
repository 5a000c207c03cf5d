// Compares the expansion with one by a regular expression.
#include "text/expand.h"
#include "fuzz.h"

#include <regex>

void check(FuzzedDataProvider& input) {
    static const std::regex placeholder("\\{([-_A-Za-z0-9]+)\\}");
    text::PlaceholderValues values{{"E", ""}};
    values["A"] = input.ConsumeRandomLengthString();
    values["b-_9"] = input.ConsumeRandomLengthString();
    const std::string pattern = input.ConsumeRemainingBytesAsString();
    for (const bool keepPair : {false, true}) {
        std::size_t dropped = 0;
        std::string expected, expanded, rest = pattern;
        for (std::sregex_iterator at(pattern.begin(), pattern.end(), placeholder), end; at != end; ++at) {
            const std::string value = values.contains(at->str(1)) ? values[at->str(1)] : "";
            expected += at->prefix().str() + value;
            rest = at->suffix();
            if (value.empty() && !keepPair) {
                ++dropped;
                expected.erase(std::min(expected.find_last_of('&'), expected.size()));
            }
        }
        require(text::expandPlaceholders(pattern, values, keepPair, expanded) == dropped);
        require(expanded == expected + rest);
    }
}
