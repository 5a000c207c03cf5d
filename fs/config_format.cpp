#include "fs/config_format.h"

#include <utility>

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

void ConfigSearch::take(std::string_view piece) {
    while (!value_ && !piece.empty()) {
        const auto lineEnd = piece.find('\n');
        if (lineEnd == piece.npos || !begun_.empty())
            begun_.append(piece.substr(0, lineEnd));
        if (lineEnd == piece.npos)
            return;
        lookAt(begun_.empty() ? piece.substr(0, lineEnd) : begun_);
        begun_.clear();
        piece.remove_prefix(lineEnd + 1);
    }
}

std::optional<std::string> ConfigSearch::finish() {
    if (!value_)
        lookAt(withoutTrailingZeros(begun_));
    return std::move(value_);
}

void ConfigSearch::lookAt(std::string_view line) {
    const std::size_t begin = key_.find('=') == key_.npos ? valueOf(line, key_) : line.npos;
    if (begin == line.npos)
        return;
    value_ = line.substr(begin);
    std::erase(*value_, '\r');
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
