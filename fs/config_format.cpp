#include "fs/config_format.h"

namespace fs {
namespace {

void parseLine(std::string_view line, ConfigValues& values) {
    const auto divider = line.find('=');
    if (divider != line.npos)
        values.try_emplace(std::string(line.substr(0, divider)), line.substr(divider + 1));
}

} // namespace

void parseConfig(std::string_view contents, ConfigValues& values) {
    contents = contents.substr(0, contents.find_last_not_of('\0') + 1);
    std::string withoutReturns;
    if (contents.find('\r') != contents.npos) {
        withoutReturns = contents;
        std::erase(withoutReturns, '\r');
        contents = withoutReturns;
    }

    while (!contents.empty()) {
        const auto lineEnd = contents.find('\n');
        parseLine(contents.substr(0, lineEnd), values);
        contents.remove_prefix(lineEnd == contents.npos ? contents.size() : lineEnd + 1);
    }
}

std::string serialiseConfig(const ConfigValues& values) {
    std::size_t size = 0;
    for (const auto& [key, value] : values)
        size += key.size() + value.size() + 2;
    std::string contents;
    contents.reserve(size);
    for (const auto& [key, value] : values)
        if (!value.empty())
            contents.append(key).append(1, '=').append(value).append(1, '\n');
    return contents;
}

} // namespace fs
