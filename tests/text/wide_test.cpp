#include "text/utf16.h"
#include "text/wide.h"

#include <random>
#include <vector>

#include <windows.h>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

/// What the system makes of it.
std::wstring converted(const std::string& narrow) {
    std::wstring wide(narrow.size(), L'\0');
    const int length =
        MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, narrow.data(), static_cast<int>(narrow.size()),
                            wide.data(), static_cast<int>(wide.size()));
    wide.resize(static_cast<std::size_t>(length));
    return wide.substr(0, wide.find(L'\0'));
}

TEST(Utf8ToUtf16, AgreesWithTheSystem) {
    std::vector<std::string> texts = {"a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80",
                                      "ab\0cd"s,
                                      "\0ab"s,
                                      "valid, then \xFF",
                                      "\xED\x9F\xBF\xEE\x80\x80",
                                      "\xED\xB0\x80",
                                      "\xC0\x80",
                                      "\xE0\x9F\xBF",
                                      "\xF0\x8F\xBF\xBF",
                                      "\xF4\x8F\xBF\xBF",
                                      "\xF4\x90\x80\x80",
                                      std::string(1 << 20, 'x')};
    std::mt19937 random(1);
    const std::string pieces[] = {"0123456789abcdef", "z",  "\xC3\xA9", "\xE2\x82\xAC",
                                  "\xF0\x9F\x98\x80", "\0"s};
    for (int i = 0; i < 20000; ++i) {
        std::string& text = texts.emplace_back();
        for (auto count = random() % 9; count > 0; --count)
            text += pieces[random() % std::size(pieces)];
        if (i % 2 != 0 && !text.empty()) // one byte is not what it should be
            text[random() % text.size()] = static_cast<char>(random());
    }
    for (const std::string& text : texts) {
        const std::wstring wide = text::utf8ToUtf16(text);
        ASSERT_TRUE(wide == (text.empty() ? L"" : converted(text))) << testing::PrintToString(text);
        ASSERT_TRUE(wide.empty() || text::utf16ToUtf8(wide) == text.substr(0, text.find('\0'))) << "and back";
    }
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
