#include "fs/config_format.h"

namespace fs {
namespace {

void parseLine(std::string_view line, ConfigValues& values) {
    const auto divider = line.find('=');
    if (divider != line.npos)
        values.try_emplace(std::string(line.substr(0, divider)), line.substr(divider + 1));
}

std::string_view withoutTrailingZeros(std::string_view contents) {
    return contents.substr(0, contents.find_last_not_of('\0') + 1);
}

/// Where the value begins in a line that has this key; `npos` in any other. Carriage returns do not count.
std::size_t valueOf(std::string_view line, std::string_view key) {
    std::size_t at = 0;
    for (const char c : key) {
        while (at < line.size() && line[at] == '\r')
            ++at;
        if (at == line.size() || line[at] != c)
            return line.npos;
        ++at;
    }
    at = line.find_first_not_of('\r', at);
    return at != line.npos && line[at] == '=' ? at + 1 : line.npos;
}

} // namespace

void parseConfig(std::string_view contents, ConfigValues& values) {
    contents = withoutTrailingZeros(contents);
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

std::optional<std::string> findInConfig(std::string_view contents, std::string_view key) {
    if (key.find('=') != key.npos)
        return std::nullopt;
    contents = withoutTrailingZeros(contents);
    while (!contents.empty()) {
        const auto lineEnd = contents.find('\n');
        const std::string_view line = contents.substr(0, lineEnd);
        if (const std::size_t begin = valueOf(line, key); begin != line.npos) {
            std::string value(line.substr(begin));
            std::erase(value, '\r');
            return value;
        }
        contents.remove_prefix(lineEnd == contents.npos ? contents.size() : lineEnd + 1);
    }
    return std::nullopt;
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
