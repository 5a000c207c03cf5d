#pragma once

#include <codecvt>
#include <locale>
#include <optional>
#include <string>

#include <fuzzer/FuzzedDataProvider.h>

/// Checks one input. Each fuzzer defines this function.
void check(FuzzedDataProvider& input);

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    check(input);
    return 0;
}

/// Aborts unless a property holds. The stack trace of the crash names the property's line.
inline void require(bool holds) {
    if (!holds) [[clang::nomerge]]
        std::abort();
}

using Utf16Library = std::wstring_convert<std::codecvt_utf8_utf16<char16_t>, char16_t>;

/// Decodes UTF-8 by std::codecvt_utf8_utf16; nullopt if invalid. Rejects surrogates, which codecvt accepts.
inline std::optional<std::u16string> decoded(const std::string& narrow) {
    for (std::size_t i = 1; i < narrow.size(); ++i)
        if (narrow[i - 1] == '\xED' && static_cast<unsigned char>(narrow[i]) >= 0xA0)
            return std::nullopt;
    Utf16Library library("", u"");
    const std::u16string wide = library.from_bytes(narrow);
    return library.converted() == narrow.size() ? std::optional(wide) : std::nullopt;
}
