#include "text/escape.h"

#include <algorithm>
#include <cstdint>

namespace text {
namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

std::uint8_t byteAt(std::string_view bytes, std::size_t index) {
    return static_cast<std::uint8_t>(bytes[index]);
}

/// Returns the length of the well-formed UTF-8 sequence at the start of `bytes`. Returns 0 for stray or
/// overlong bytes, surrogates, values above U+10FFFF and truncated sequences.
/// \param bytes Starts with a byte of 0x80 or above.
std::size_t sequenceLength(std::string_view bytes) {
    const std::uint8_t lead = byteAt(bytes, 0);
    std::size_t length = 0;
    if (lead >= 0xC2 && lead <= 0xDF)
        length = 2;
    else if (lead >= 0xE0 && lead <= 0xEF)
        length = 3;
    else if (lead >= 0xF0 && lead <= 0xF4)
        length = 4;
    if (length == 0 || bytes.size() < length)
        return 0;

    // Only the second byte reveals overlong forms, surrogates and values above U+10FFFF.
    const std::uint8_t low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const std::uint8_t high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (byteAt(bytes, 1) < low || byteAt(bytes, 1) > high)
        return 0;
    for (std::size_t i = 2; i < length; ++i)
        if ((byteAt(bytes, i) & 0xC0) != 0x80)
            return 0;
    return length;
}

void appendHex(std::string& out, std::uint8_t byte) {
    out.push_back(kHexDigits[byte >> 4]);
    out.push_back(kHexDigits[byte & 15]);
}

/// Copies `value`. Passes ASCII that `isPlain` rejects to `appendEscaped`; replaces bytes of invalid UTF-8.
template <class IsPlain, class AppendEscaped>
std::string escape(std::string_view value, IsPlain isPlain, AppendEscaped appendEscaped) {
    std::string out;
    out.reserve(value.size() + value.size() / 8);
    std::size_t at = 0;
    while (at < value.size()) {
        const std::uint8_t byte = byteAt(value, at);
        if (byte >= 0x80) {
            const std::size_t length = sequenceLength(value.substr(at));
            out += length != 0 ? value.substr(at, length) : kReplacement;
            at += std::max<std::size_t>(length, 1);
            continue;
        }
        if (isPlain(byte))
            out.push_back(static_cast<char>(byte));
        else
            appendEscaped(out, byte);
        ++at;
    }
    return out;
}

bool isControl(std::uint8_t byte) {
    return byte < 0x20 || byte == 0x7F;
}

/// Returns true for a character that a URL contains unencoded.
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
