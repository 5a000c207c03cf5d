#include "text/wide.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

TEST(Utf8ToUtf16, StrictAndCutAtTheFirstZero) {
    const struct {
        std::string in;
        std::wstring out;
    } cases[] = {
        {"", L""},
        {"a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", L"a\u00E9\u20AC\U0001F600"},
        {"ab\0cd"s, L"ab"},
        {"\0ab"s, L""},
        {"valid first, then \xFF", L""},
        {"\xC3", L""},
        {"\xED\xB0\x80", L""}, // what the encoder makes of a lone low surrogate does not come back
        {std::string(1 << 20, 'x'), std::wstring(1 << 20, L'x')},
    };
    for (const auto& c : cases)
        EXPECT_TRUE(text::utf8ToUtf16(c.in) == c.out) << c.in.substr(0, 20);
}

TEST(CodePageToUtf16, OverwritesAndTellsTheLength) {
    std::wstring wide = L"old";
    EXPECT_EQ(text::codePageToUtf16("\x80q", 1252, wide), 2u);
    EXPECT_EQ(wide, L"\u20ACq");
    EXPECT_EQ(text::codePageToUtf16("\xFFz", 65001, wide), 2u);
    EXPECT_EQ(wide, L"\uFFFDz") << "lenient";
    EXPECT_EQ(text::codePageToUtf16("a\0b"s, 1252, wide), 3u);
    EXPECT_EQ(text::codePageToUtf16("", 1252, wide), 0u);
    EXPECT_EQ(wide, L"");
    wide = L"old";
    EXPECT_EQ(text::codePageToUtf16("x", 54321, wide), 0u) << "no such code page";
    EXPECT_EQ(wide, L"");
}

} // namespace
