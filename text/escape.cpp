#include "text/escape.h"

#include "text/utf8.h"

#include <cstdint>

namespace text {
namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

void appendHex(std::string& out, std::uint8_t byte) {
    out.push_back(kHexDigits[byte >> 4]);
    out.push_back(kHexDigits[byte & 15]);
}

/// Copies `value`. Passes ASCII that `isPlain` rejects to `appendEscaped`; replaces bytes of invalid UTF-8.
template <class IsPlain, class AppendEscaped>
std::string escape(std::string_view value, IsPlain isPlain, AppendEscaped appendEscaped) {
    std::string out;
    out.reserve(value.size() + value.size() / 8);
    std::size_t copied = 0; // end of the part of the value that has been copied or replaced
    for (std::size_t at = 0; at < value.size();) {
        const std::uint8_t byte = static_cast<std::uint8_t>(value[at]);
        std::uint32_t codePoint = 0;
        const std::size_t length = byte < 0x80 ? 1 : readUtf8(value.substr(at), codePoint);
        if (byte < 0x80 ? isPlain(byte) : length != 0) {
            at += length;
            continue;
        }
        out.append(value, copied, at - copied);
        if (byte < 0x80)
            appendEscaped(out, byte);
        else
            out += kReplacement;
        copied = ++at;
    }
    out.append(value, copied);
    return out;
}

bool isControl(std::uint8_t byte) {
    return byte < 0x20 || byte == 0x7F;
}

/// Returns true for a character that `percentEncode` copies.
bool isUnreserved(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '.' || c == '_' || c == '~';
}

/// Returns the letter of the escape that JSON and logs share for a control character; 0 if there is none.
char shortEscape(std::uint8_t byte) {
    switch (byte) {
    case '\n':
        return 'n';
    case '\r':
        return 'r';
    case '\t':
        return 't';
    default:
        return 0;
    }
}

} // namespace

std::string jsonEscape(std::string_view value) {
    return escape(
        value,
        [](std::uint8_t byte) { return !isControl(byte) && byte != '"' && byte != '\\' && byte != '&'; },
        [](std::string& out, std::uint8_t byte) {
            out.push_back('\\');
            if (byte == '"' || byte == '\\') {
                out.push_back(static_cast<char>(byte));
            } else if (const char letter = shortEscape(byte)) {
                out.push_back(letter);
            } else {
                out += "u00";
                appendHex(out, byte);
            }
        });
}

std::string lineEscape(std::string_view value) {
    return escape(
        value, [](std::uint8_t byte) { return !isControl(byte); },
        [](std::string& out, std::uint8_t byte) {
            out.push_back('\\');
            if (const char letter = shortEscape(byte)) {
                out.push_back(letter);
            } else {
                out.push_back('x');
                appendHex(out, byte);
            }
        });
}

std::string percentEncode(std::string_view value) {
    std::string out;
    out.reserve(value.size() * 2);
    for (const char c : value) {
        if (isUnreserved(c)) {
            out.push_back(c);
        } else {
            out.push_back('%');
            appendHex(out, static_cast<std::uint8_t>(c));
        }
    }
    return out;
}

} // namespace text
