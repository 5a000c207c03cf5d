#include "text/utf16.h"

#include <algorithm>
#include <cstdint>

#include <emmintrin.h>

namespace text {
namespace {

constexpr std::size_t kBlock = 16; // bytes that are looked at together

bool isHighSurrogate(std::uint32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLowSurrogate(std::uint32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// Widens whole blocks of ASCII. Stops at a block that holds anything else, or a zero.
/// \return How many characters were widened.
std::size_t widenAscii(const char* in, std::size_t size, Utf16Unit* out) {
    const __m128i zero = _mm_setzero_si128();
    std::size_t done = 0;
    for (; size - done >= kBlock; done += kBlock) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + done));
        if (_mm_movemask_epi8(_mm_or_si128(block, _mm_cmpeq_epi8(block, zero))) != 0)
            break;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + done), _mm_unpacklo_epi8(block, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + done + 8), _mm_unpackhi_epi8(block, zero));
    }
    return done;
}

/// Narrows whole blocks of ASCII; stops at a block that holds anything else.
/// \return How many characters were narrowed.
std::size_t narrowAscii(const Utf16Unit* in, std::size_t size, char* out) {
    const __m128i others = _mm_set1_epi16(static_cast<short>(0xFF80));
    std::size_t done = 0;
    for (; size - done >= kBlock; done += kBlock) {
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + done));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + done + 8));
        const __m128i found = _mm_and_si128(_mm_or_si128(low, high), others);
        if (_mm_movemask_epi8(_mm_cmpeq_epi16(found, _mm_setzero_si128())) != 0xFFFF)
            break;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + done), _mm_packus_epi16(low, high));
    }
    return done;
}

char continuation(std::uint32_t codePoint, int shift) {
    return static_cast<char>(0x80 | ((codePoint >> shift) & 0x3F));
}

/// \param out Has room for four bytes.
/// \return The end of what was written.
char* putUtf8(char* out, std::uint32_t codePoint) {
    if (codePoint <= 0x7F) {
        *out++ = static_cast<char>(codePoint);
        return out;
    }
    if (codePoint <= 0x7FF) {
        *out++ = static_cast<char>(0xC0 | (codePoint >> 6));
    } else {
        if (codePoint <= 0xFFFF) {
            *out++ = static_cast<char>(0xE0 | (codePoint >> 12));
        } else {
            *out++ = static_cast<char>(0xF0 | (codePoint >> 18));
            *out++ = continuation(codePoint, 12);
        }
        *out++ = continuation(codePoint, 6);
    }
    *out++ = continuation(codePoint, 0);
    return out;
}

/// One form of a sequence: what its first byte looks like, and the code points that may be written so.
struct SequenceForm {
    std::uint32_t mask, lead;
    std::uint32_t lowest, highest;
    std::size_t length;
};

constexpr SequenceForm kForms[] = {
    {0x80, 0x00, 0, 0x7F, 1},
    {0xE0, 0xC0, 0x80, 0x7FF, 2},
    {0xF0, 0xE0, 0x800, 0xFFFF, 3},
    {0xF8, 0xF0, 0x10000, 0x10FFFF, 4},
};

/// Reads one code point.
/// \return The length of its sequence; 0 for one that is not valid.
std::size_t readUtf8(std::string_view in, std::uint32_t& codePoint) {
    const std::uint32_t lead = static_cast<unsigned char>(in[0]);
    for (const SequenceForm& form : kForms) {
        if ((lead & form.mask) != form.lead)
            continue;
        if (in.size() < form.length)
            return 0;
        codePoint = lead & ~form.mask;
        for (std::size_t i = 1; i < form.length; ++i) {
            const std::uint32_t next = static_cast<unsigned char>(in[i]);
            if ((next & 0xC0) != 0x80)
                return 0;
            codePoint = codePoint << 6 | (next & 0x3F);
        }
        const bool isSurrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
        return codePoint >= form.lowest && codePoint <= form.highest && !isSurrogate ? form.length : 0;
    }
    return 0;
}

Utf16Unit* putUtf16(Utf16Unit* out, std::uint32_t codePoint) {
    if (codePoint > 0xFFFF) {
        *out++ = static_cast<Utf16Unit>(0xD800 + ((codePoint - 0x10000) >> 10));
        codePoint = 0xDC00 + ((codePoint - 0x10000) & 0x3FF);
    }
    *out++ = static_cast<Utf16Unit>(codePoint);
    return out;
}

/// The length in UTF-8, a little more where there are surrogates. Memory that is not needed costs more than counting.
std::size_t mostUtf8(std::basic_string_view<Utf16Unit> wide) {
    std::size_t size = wide.size();
    for (const std::uint32_t unit : wide)
        size += (unit > 0x7F ? 1u : 0u) + (unit > 0x7FF ? 1u : 0u);
    return size;
}

/// The length in UTF-16 of valid UTF-8; not less than the decoder writes for any other bytes.
std::size_t mostUtf16(std::string_view narrow) {
    std::size_t size = 0;
    for (const char c : narrow) {
        const auto byte = static_cast<unsigned char>(c);
        size += ((byte & 0xC0) != 0x80 ? 1u : 0u) + (byte >= 0xF0 ? 1u : 0u);
    }
    return size;
}

} // namespace

std::string utf16ToUtf8(std::basic_string_view<Utf16Unit> wide) {
    std::string narrow(mostUtf8(wide), '\0');
    char* out = narrow.data();
    std::uint32_t pending = 0; // 0: no high surrogate is waiting for its second half
    for (std::size_t read = 0; read < wide.size();) {
        const std::size_t plain = pending == 0 ? narrowAscii(wide.data() + read, wide.size() - read, out) : 0;
        read += plain;
        out += plain;
        // What is left of a block, or the way to the next one.
        for (const std::size_t end = std::min(read + kBlock, wide.size()); read < end; ++read) {
            const std::uint32_t unit = wide[read];
            if (isHighSurrogate(unit)) {
                pending = 0x10000 + ((unit - 0xD800) << 10);
                continue;
            }
            const bool isPair = pending != 0 && isLowSurrogate(unit);
            out = putUtf8(out, isPair ? pending + (unit - 0xDC00) : unit);
            pending = 0;
        }
    }
    narrow.resize(static_cast<std::size_t>(out - narrow.data()));
    return narrow;
}

std::basic_string<Utf16Unit> utf8ToUtf16(std::string_view narrow) {
    std::basic_string<Utf16Unit> wide(mostUtf16(narrow), 0);
    Utf16Unit* out = wide.data();
    const Utf16Unit* firstZero = nullptr;
    for (std::size_t read = 0; read < narrow.size();) {
        const std::size_t plain = widenAscii(narrow.data() + read, narrow.size() - read, out);
        read += plain;
        out += plain;
        // What is left of a block, or the way to the next one.
        for (std::size_t i = 0; i < kBlock && read < narrow.size(); ++i) {
            std::uint32_t codePoint = 0;
            const std::size_t length = readUtf8(narrow.substr(read), codePoint);
            if (length == 0)
                return {};
            if (codePoint == 0 && firstZero == nullptr)
                firstZero = out;
            out = putUtf16(out, codePoint);
            read += length;
        }
    }
    wide.resize(static_cast<std::size_t>((firstZero != nullptr ? firstZero : out) - wide.data()));
    return wide;
}

} // namespace text
