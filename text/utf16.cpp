#include "text/utf16.h"

#include "text/utf8.h"

#include <algorithm>
#include <cstdint>

#include <emmintrin.h>

namespace text {
namespace {

constexpr std::size_t kBlock = 16; // characters that are tested together for ASCII
constexpr std::size_t kOtherScript = 16 * kBlock;

bool isHighSurrogate(std::uint32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLowSurrogate(std::uint32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// Returns true if a block contains neither null nor non-ASCII characters.
bool isPlain(const char* block) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block));
    return _mm_movemask_epi8(_mm_or_si128(bytes, _mm_cmpeq_epi8(bytes, _mm_setzero_si128()))) == 0;
}

/// Returns true if a block contains only ASCII characters.
bool isPlain(const Utf16Unit* block) {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + 8));
    const __m128i others = _mm_and_si128(_mm_or_si128(low, high), _mm_set1_epi16(static_cast<short>(0xFF80)));
    return _mm_movemask_epi8(_mm_cmpeq_epi16(others, _mm_setzero_si128())) == 0xFFFF;
}

/// Returns true if the text has at least one block and all its characters are plain. Tests its end as a block
/// that overlaps the one before it.
template <class Unit>
bool isAscii(std::basic_string_view<Unit> text) {
    if (text.size() < kBlock || !isPlain(text.data() + text.size() - kBlock))
        return false;
    std::size_t at = 0;
    while (text.size() - at > kBlock && isPlain(text.data() + at))
        at += kBlock;
    return text.size() - at <= kBlock;
}

/// Widens one plain block. Returns false if it is not plain.
bool convertBlock(const char* in, Utf16Unit* out) {
    if (!isPlain(in))
        return false;
    const __m128i zero = _mm_setzero_si128();
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi8(block, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 8), _mm_unpackhi_epi8(block, zero));
    return true;
}

/// Narrows one plain block. Returns false if it is not plain.
bool convertBlock(const Utf16Unit* in, char* out) {
    if (!isPlain(in))
        return false;
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 8));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_packus_epi16(low, high));
    return true;
}

/// Converts plain blocks, and stops at one that is not.
/// \return Number of characters converted.
template <class In, class Out>
std::size_t convertAscii(const In* in, std::size_t size, Out* out) {
    std::size_t done = 0;
    while (size - done >= kBlock && convertBlock(in + done, out + done))
        done += kBlock;
    // The last block overlaps the one before it: plain text needs no conversion character by character.
    const bool hasTail = done > 0 && size - done < kBlock;
    return hasTail && convertBlock(in + size - kBlock, out + size - kBlock) ? size : done;
}

char continuation(std::uint32_t codePoint, int shift) {
    return static_cast<char>(0x80 | ((codePoint >> shift) & 0x3F));
}

/// Encodes one code point.
/// \param out Has room for the encoded code point.
/// \return Pointer past the last byte written.
char* putUtf8(char* out, std::uint32_t codePoint) {
    if (codePoint <= 0x7F) {
        *out = static_cast<char>(codePoint);
        return out + 1;
    }
    if (codePoint <= 0x7FF) {
        out[0] = static_cast<char>(0xC0 | (codePoint >> 6));
        out[1] = continuation(codePoint, 0);
        return out + 2;
    }
    if (codePoint <= 0xFFFF) {
        out[0] = static_cast<char>(0xE0 | (codePoint >> 12));
        out[1] = continuation(codePoint, 6);
        out[2] = continuation(codePoint, 0);
        return out + 3;
    }
    out[0] = static_cast<char>(0xF0 | (codePoint >> 18));
    out[1] = continuation(codePoint, 12);
    out[2] = continuation(codePoint, 6);
    out[3] = continuation(codePoint, 0);
    return out + 4;
}

Utf16Unit* putUtf16(Utf16Unit* out, std::uint32_t codePoint) {
    if (codePoint > 0xFFFF) {
        *out++ = static_cast<Utf16Unit>(0xD800 + ((codePoint - 0x10000) >> 10));
        codePoint = 0xDC00 + ((codePoint - 0x10000) & 0x3FF);
    }
    *out++ = static_cast<Utf16Unit>(codePoint);
    return out;
}

/// Returns the number of bytes that are 0xFF. All others must be 0.
std::size_t countSet(__m128i bytes) {
    const __m128i halves = _mm_sad_epu8(_mm_sub_epi8(_mm_setzero_si128(), bytes), _mm_setzero_si128());
    return static_cast<std::size_t>(_mm_cvtsi128_si64(halves) + _mm_extract_epi16(halves, 4));
}

/// Returns the length in UTF-8; with surrogates, an upper bound. Counting costs less than allocating three
/// bytes for each unit.
std::size_t mostUtf8(std::basic_string_view<Utf16Unit> wide) {
    if (isAscii(wide))
        return wide.size();
    std::size_t size = 3 * wide.size();
    std::size_t read = 0;
    for (; wide.size() - read >= kBlock; read += kBlock) {
        const auto load = [&](std::size_t at) {
            return _mm_loadu_si128(reinterpret_cast<const __m128i*>(wide.data() + read + at));
        };
        for (const short limit : {short{0x7F}, short{0x7FF}}) {
            const auto within = [&](__m128i units) {
                return _mm_cmpeq_epi16(_mm_subs_epu16(units, _mm_set1_epi16(limit)), _mm_setzero_si128());
            };
            size -= countSet(_mm_packs_epi16(within(load(0)), within(load(8))));
        }
    }
    for (; read < wide.size(); ++read)
        size -= (wide[read] <= 0x7F ? 1u : 0u) + (wide[read] <= 0x7FF ? 1u : 0u);
    return size;
}

/// Returns the length in UTF-16 of valid UTF-8. For invalid input, an upper bound of what the decoder writes.
std::size_t mostUtf16(std::string_view narrow) {
    if (isAscii(narrow))
        return narrow.size();
    constexpr signed char kFirstNotContinuation = -64, kFirstOfFour = -16;
    std::size_t size = narrow.size();
    std::size_t read = 0;
    for (; narrow.size() - read >= kBlock; read += kBlock) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(narrow.data() + read));
        const __m128i firstOfFour = _mm_set1_epi8(kFirstOfFour);
        size -= countSet(_mm_cmplt_epi8(block, _mm_set1_epi8(kFirstNotContinuation)));
        size += countSet(_mm_cmpeq_epi8(_mm_max_epu8(block, firstOfFour), block));
    }
    for (; read < narrow.size(); ++read) {
        const auto byte = static_cast<signed char>(narrow[read]);
        size -= byte < kFirstNotContinuation ? 1u : 0u;
        size += byte >= kFirstOfFour && byte < 0 ? 1u : 0u;
    }
    return size;
}

} // namespace

std::string utf16ToUtf8(std::basic_string_view<Utf16Unit> wide) {
    std::string narrow(mostUtf8(wide), '\0');
    char* out = narrow.data();
    std::size_t stretch = kBlock;
    for (std::size_t read = 0; read < wide.size();) {
        const std::size_t plain = convertAscii(wide.data() + read, wide.size() - read, out);
        read += plain;
        out += plain;
        // Converts up to `stretch` units one by one, then probes for a block of ASCII again.
        const std::size_t begin = read;
        const char* const beginOut = out;
        for (const std::size_t end = std::min(read + stretch, wide.size()); read < end;) {
            const std::uint32_t unit = wide[read++];
            if (!isHighSurrogate(unit))
                out = putUtf8(out, unit);
            else if (read < wide.size() && isLowSurrogate(wide[read]))
                out = putUtf8(out, 0x10000 + ((unit - 0xD800) << 10) + (wide[read++] - 0xDC00u));
        }
        // Non-Latin text rarely contains a whole block of ASCII. Probing for one at every block defeats
        // branch prediction.
        const bool isOtherScript = static_cast<std::size_t>(out - beginOut) > (read - begin) * 3 / 2;
        stretch = isOtherScript ? kOtherScript : kBlock;
    }
    narrow.resize(static_cast<std::size_t>(out - narrow.data()));
    return narrow;
}

std::basic_string<Utf16Unit> utf8ToUtf16(std::string_view narrow) {
    std::basic_string<Utf16Unit> wide(mostUtf16(narrow), 0);
    Utf16Unit* out = wide.data();
    const Utf16Unit* firstZero = nullptr;
    for (std::size_t read = 0; read < narrow.size();) {
        const std::size_t plain = convertAscii(narrow.data() + read, narrow.size() - read, out);
        read += plain;
        out += plain;
        // Converts up to `kBlock` characters one by one, then probes for a block of ASCII again.
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
