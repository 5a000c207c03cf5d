// Compares parser and search with a regular expression. A written file must parse to the nonempty values.
#include "fs/config_format.h"
#include "fuzz.h"

#include <regex>

void check(FuzzedDataProvider& input) {
    static const std::regex entry("(?:^|\n)([^=\n]*)=([^\n]*)");
    const auto step = input.ConsumeIntegralInRange<std::size_t>(1, 40);
    const std::size_t begin = input.ConsumeIntegral<uint8_t>(), length = input.ConsumeIntegral<uint8_t>();
    const std::string contents = input.ConsumeRemainingBytesAsString();
    fs::ConfigValues values, expected, again;
    std::string text = contents.substr(0, contents.find_last_not_of('\0') + 1);
    std::erase(text, '\r');
    for (std::sregex_iterator at(text.begin(), text.end(), entry), end; at != end; ++at)
        expected.emplace(at->str(1), at->str(2));
    fs::parseConfig(contents, values);
    require(values == expected);

    // Also searches for a part of the file's text as a key. Mostly there is no such key.
    std::map<std::string, std::optional<std::string>> keys(values.begin(), values.end());
    keys.try_emplace(contents.substr(std::min(begin, contents.size()), length));
    for (const auto& [key, value] : keys) {
        fs::ConfigSearch search(key);
        for (std::size_t at = 0; at < contents.size(); at += step)
            search.take(contents.substr(at, step));
        require(search.finish() == value);
    }
    fs::parseConfig(fs::serialiseConfig(values), again);
    std::erase_if(values, [](const auto& pair) { return pair.second.empty(); });
    require(again == values);
}
