#include "fs/config_format.h"

#include <algorithm>
#include <iterator>
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

using Beginning = ConfigSearch::Beginning;

/// Compares the start of a line with the key. Ignores carriage returns.
/// \param[out] value Offset of the value in `line`; valid only for `Beginning::found`.
Beginning lookForKey(std::string_view line, std::string_view key, std::size_t& value) {
    if (key.find('=') != key.npos)
        return Beginning::other;
    std::size_t at = line.find_first_not_of('\r');
    for (const char c : key) {
        if (at == line.npos)
            return Beginning::unknown;
        if (line[at] != c)
            return Beginning::other;
        at = line.find_first_not_of('\r', at + 1);
    }
    if (at == line.npos)
        return Beginning::unknown;
    value = at + 1;
    return line[at] == '=' ? Beginning::found : Beginning::other;
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
        const std::string_view line = piece.substr(0, lineEnd);
        if (lineEnd != piece.npos) {
            if (begun_.empty() && beginning_ == Beginning::unknown)
                inspect(line);
            else if (beginning_ != Beginning::other)
                inspect(begun_.append(line));
            begun_.clear();
            beginning_ = Beginning::unknown;
            piece.remove_prefix(lineEnd + 1);
        } else {
            begin(line);
            return;
        }
    }
}

/// Buffers the start of a line that continues in the next piece, unless the line holds another key.
void ConfigSearch::begin(std::string_view line) {
    if (beginning_ != Beginning::other)
        begun_.append(line);
    std::size_t value = 0;
    if (beginning_ == Beginning::unknown)
        beginning_ = lookForKey(begun_, key_, value);
    if (beginning_ == Beginning::other)
        begun_.clear();
    if (beginning_ == Beginning::unknown)
        std::erase(begun_, '\r'); // otherwise each piece would rescan a long run of carriage returns
}

std::optional<std::string> ConfigSearch::finish() {
    if (!value_)
        inspect(withoutTrailingZeros(begun_));
    return std::move(value_);
}

void ConfigSearch::inspect(std::string_view line) {
    std::size_t value = 0;
    if (lookForKey(line, key_, value) != Beginning::found)
        return;
    value_ = line.substr(value);
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
