#include "text/wide.h"

#include "text/format.h"

#include <gtest/gtest.h>

namespace {

TEST(CodePages, BothDirections) {
    std::wstring wide = L"old";
    EXPECT_EQ(text::codePageToUtf16("\x80q", 1252, wide), 2u);
    EXPECT_EQ(wide, L"\u20ACq");
    EXPECT_EQ(text::utf16ToCodePage(wide + L"\u97F3", 1252), "\x80q?");
    EXPECT_EQ(text::codePageToUtf16("\xFFz", 65001, wide), 2u);
    EXPECT_EQ(wide, L"\uFFFDz") << "invalid bytes become U+FFFD";
    EXPECT_EQ(text::codePageToUtf16("x", 54321, wide), 0u) << "no such code page";
    EXPECT_EQ(wide, L"");
}

TEST(FormattedPrint, TextNeedsRoomForItsTerminator) {
    char buffer[4] = "";
    EXPECT_EQ(text::formattedPrint(buffer, 4, "%s", "abc"), 3);
    EXPECT_EQ(text::formattedPrint(buffer, 4, "%s", "wxyz"), -1);
    EXPECT_STREQ(buffer, "wxy");
}

} // namespace
