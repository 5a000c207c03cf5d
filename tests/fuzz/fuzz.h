#pragma once

#include <codecvt>
#include <locale>
#include <optional>
#include <string>

#include <fuzzer/FuzzedDataProvider.h>

/// What each fuzzer does with one input.
void check(FuzzedDataProvider& input);

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    check(input);
    return 0;
}

/// A property that must hold: the fuzzer takes the abort for a crash, and its trace tells which one it was.
inline void require(bool holds) {
    if (!holds) [[clang::nomerge]]
        std::abort();
}

using Utf16Library = std::wstring_convert<std::codecvt_utf8_utf16<char16_t>, char16_t>;

/// The standard library's strict decoding of UTF-8. It would let encoded surrogates pass.
inline std::optional<std::u16string> decoded(const std::string& narrow) {
    for (std::size_t i = 1; i < narrow.size(); ++i)
        if (narrow[i - 1] == '\xED' && static_cast<unsigned char>(narrow[i]) >= 0xA0)
            return std::nullopt;
    Utf16Library library("", u"");
    const std::u16string wide = library.from_bytes(narrow);
    return library.converted() == narrow.size() ? std::optional(wide) : std::nullopt;
}
