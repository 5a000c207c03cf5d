// Compares the search with one by a regular expression.
#include "fuzz.h"
#include "shell/extension_scan.h"

#include <regex>

void check(FuzzedDataProvider& input) {
    static const std::regex entry('"' + std::string(shell::kExtensionId) + "\"(\\s*:\\s*\\{)?");
    const auto step = input.ConsumeIntegralInRange<std::size_t>(1, 40);
    const std::string text = input.ConsumeRemainingBytesAsString();
    bool isListed = false;
    for (std::sregex_iterator at(text.begin(), text.end(), entry), end; at != end; ++at)
        isListed = isListed || (*at)[1].matched;
    shell::ExtensionSearch search;
    bool isFound = false;
    for (std::size_t at = 0; at < text.size(); at += step)
        isFound = search.take(std::string_view(text).substr(at, step));
    require(isFound == isListed);
}
