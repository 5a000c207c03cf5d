#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace text {

/// \brief Decodes the code point at the start of UTF-8 text.
///
/// Inline, because conversions call it for each character.
/// \param in Not empty.
/// \param[out] codePoint Unspecified if the sequence is invalid.
/// \return Length of the sequence in bytes; 0 for stray or overlong bytes, surrogates, values above U+10FFFF
/// and truncated sequences.
inline std::size_t readUtf8(std::string_view in, std::uint32_t& codePoint) {
    const auto byte = [&](std::size_t i) {
        return static_cast<std::uint32_t>(static_cast<unsigned char>(in[i]));
    };
    const auto isContinuation = [&](std::size_t i) { return (byte(i) & 0xC0) == 0x80; };
    const auto bits = [&](std::size_t i) { return byte(i) & 0x3F; };
    const std::uint32_t lead = byte(0);
    if (lead <= 0x7F) {
        codePoint = lead;
        return 1;
    }
    if (lead < 0xE0) {
        if (in.size() < 2 || !isContinuation(1))
            return 0;
        codePoint = (lead & 0x1F) << 6 | bits(1);
        return lead >= 0xC2 ? 2 : 0; // below: overlong forms of ASCII, or stray continuation bytes
    }
    if (lead < 0xF0) {
        if (in.size() < 3 || !isContinuation(1) || !isContinuation(2))
            return 0;
        codePoint = (lead & 0x0F) << 12 | bits(1) << 6 | bits(2);
        const bool isSurrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
        return codePoint >= 0x800 && !isSurrogate ? 3 : 0;
    }
    if (in.size() < 4 || !isContinuation(1) || !isContinuation(2) || !isContinuation(3))
        return 0;
    codePoint = (lead & 0x0F) << 18 | bits(1) << 12 | bits(2) << 6 | bits(3);
    return codePoint >= 0x10000 && codePoint <= 0x10FFFF ? 4 : 0;
}

} // namespace text
