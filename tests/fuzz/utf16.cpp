// Converts the bytes as UTF-8 and as UTF-16, and compares the results with those of the standard library.
#include "text/utf16.h"
#include "fuzz.h"

void check(FuzzedDataProvider& input) {
    const std::string narrow = input.ConsumeRemainingBytesAsString();
    const std::u16string all = decoded(narrow).value_or(u""), wide = text::utf8ToUtf16(narrow);
    require(wide == all.substr(0, all.find(u'\0')));
    require(wide.empty() || text::utf16ToUtf8(wide) == narrow.substr(0, narrow.find('\0')));
    std::u16string units(narrow.size() / 2, u'\0');
    std::memcpy(units.data(), narrow.data(), units.size() * 2);
    std::string expected;
    for (std::size_t i = 0; i < units.size(); ++i) {
        const int kind = units[i] & 0xFC00;
        const bool isPair = kind == 0xD800 && i + 1 < units.size() && (units[i + 1] & 0xFC00) == 0xDC00;
        if (kind == 0xDC00) // an unpaired low surrogate, which the standard library does not encode
            for (const int byte : {0xED, 0x80 | (units[i] >> 6 & 0x3F), 0x80 | (units[i] & 0x3F)})
                expected += static_cast<char>(byte);
        else if (isPair || kind != 0xD800)
            expected += Utf16Library().to_bytes(units.substr(i, isPair ? 2 : 1));
        i += isPair ? 1 : 0;
    }
    require(text::utf16ToUtf8(units) == expected);
}
