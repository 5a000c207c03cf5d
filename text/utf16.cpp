#include "text/utf16.h"

#include <cstdint>

namespace text {
namespace {

bool isHighSurrogate(std::uint32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLowSurrogate(std::uint32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

char continuation(std::uint32_t codePoint, int shift) {
    return static_cast<char>(0x80 | ((codePoint >> shift) & 0x3F));
}

void appendUtf8(std::string& out, std::uint32_t codePoint) {
    if (codePoint <= 0x7F) {
        out.push_back(static_cast<char>(codePoint));
    } else if (codePoint <= 0x7FF) {
        out.push_back(static_cast<char>(0xC0 | (codePoint >> 6)));
        out.push_back(continuation(codePoint, 0));
    } else if (codePoint <= 0xFFFF) {
        out.push_back(static_cast<char>(0xE0 | (codePoint >> 12)));
        out.push_back(continuation(codePoint, 6));
        out.push_back(continuation(codePoint, 0));
    } else {
        out.push_back(static_cast<char>(0xF0 | (codePoint >> 18)));
        out.push_back(continuation(codePoint, 12));
        out.push_back(continuation(codePoint, 6));
        out.push_back(continuation(codePoint, 0));
    }
}

} // namespace

std::string utf16ToUtf8(std::basic_string_view<Utf16Unit> wide) {
    std::string out;
    out.reserve(wide.size());
    std::uint32_t pending = 0; // 0: no high surrogate is waiting for its second half
    for (const std::uint32_t unit : wide) {
        if (isHighSurrogate(unit)) {
            pending = 0x10000 + ((unit - 0xD800) << 10);
            continue;
        }
        appendUtf8(out, pending != 0 && isLowSurrogate(unit) ? pending + (unit - 0xDC00) : unit);
        pending = 0;
    }
    return out;
}

} // namespace text
