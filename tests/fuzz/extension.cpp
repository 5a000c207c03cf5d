// The search against one by a regular expression.
#include "fuzz.h"
#include "shell/extension_scan.h"

#include <regex>

void check(FuzzedDataProvider& input) {
    static const std::regex entry('"' + std::string(shell::kExtensionId) + "\"(\\s*:\\s*\\{)?");
    const std::string text = input.ConsumeRemainingBytesAsString();
    bool isListed = false;
    for (std::sregex_iterator at(text.begin(), text.end(), entry), end; at != end; ++at)
        isListed = isListed || (*at)[1].matched;
    require(shell::listsExtension(text) == isListed);
}
