#include "text/escape.h"
#include "text/expand.h"
#include "text/utf16.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

TEST(Utf16ToUtf8, Table) {
    const struct {
        std::basic_string<text::Utf16Unit> in;
        std::string out;
    } cases[] = {
        {{}, ""},
        {{0}, "\0"s},
        {{0x7F, 0x80, 0x7FF, 0x800, 0xFFFF}, "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"},
        {{0xD800, 0xDC00, 0xDBFF, 0xDFFF}, "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
        {{'A', 0xDC00}, "A\xED\xB0\x80"}, // a low surrogate on its own, and high ones
        {{'A', 0xD83D}, "A"},
        {{0xD83D, 'A'}, "A"},
        {{0xD83D, 0xD83D, 0xDE00}, "\xF0\x9F\x98\x80"},             // the second high one starts anew
        {{0xD83D, 0xDE00, 0xDE00}, "\xF0\x9F\x98\x80\xED\xB8\x80"}, // a pair is used up
    };
    for (const auto& c : cases)
        EXPECT_EQ(text::utf16ToUtf8(c.in), c.out);
}

TEST(ExpandPlaceholders, Table) {
    const text::PlaceholderValues values{{"A", "1"}, {"a-b_9", "{A}"}, {"E", ""}, {"S", "x&y"}};
    struct Case {
        const char* pattern;
        const char* cutting; ///< keepPair false
        std::size_t dropped;
        const char* keeping; ///< keepPair true
    };
    const Case cases[] = {
        {"", "", 0, ""},
        {"plain", "plain", 0, "plain"},
        {"<{A}{A}>", "<11>", 0, "<11>"},
        {"{a-b_9}", "{A}", 0, "{A}"}, // a value is not searched again
        {"{}{ A}{A B}{A", "{}{ A}{A B}{A", 0, "{}{ A}{A B}{A"},
        {"{{A}}", "{1}", 0, "{1}"},
        {"{A{A}", "{A1", 0, "{A1"},
        {"a={A}&b={E}", "a=1", 1, "a=1&b="},
        {"a={A}&b={missing}&c={E}!", "a=1!", 2, "a=1&b=&c=!"},
        {"n={E}", "n=", 1, "n="}, // nothing to cut at
        {"s={S}&b={E}", "s=x&y", 1, "s=x&y&b="},
        {"{\xC3\xA9}", "{\xC3\xA9}", 0, "{\xC3\xA9}"},
    };
    for (const Case& c : cases) {
        std::string out = "old";
        EXPECT_EQ(text::expandPlaceholders(c.pattern, values, false, out), c.dropped) << c.pattern;
        EXPECT_EQ(out, c.cutting) << c.pattern;
        EXPECT_EQ(text::expandPlaceholders(c.pattern, values, true, out), 0u) << c.pattern;
        EXPECT_EQ(out, c.keeping) << c.pattern;
    }
}

TEST(Escape, InvalidUtf8IsReplacedByteByByte) {
    const std::string r = "\xEF\xBF\xBD";
    const struct {
        std::string in, out;
    } cases[] = {
        {"\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80", "\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80"},
        {"\xED\x9F\xBF\xEE\x80\x80\xF4\x8F\xBF\xBF", "\xED\x9F\xBF\xEE\x80\x80\xF4\x8F\xBF\xBF"},
        {"a\x80z\xFF", "a" + r + "z" + r},
        {"\xC0\x80\xC1\xBF", r + r + r + r}, // overlong
        {"\xE0\x9F\xBF\xF0\x8F\xBF\xBF", r + r + r + r + r + r + r},
        {"\xED\xA0\x80", r + r + r},                 // a surrogate
        {"\xF4\x90\x80\x80\xF5", r + r + r + r + r}, // beyond the last code point
        {"\xE2\x82", r + r},                         // cut at the end
        {"\xE2\x82(\xC3(", r + r + "(" + r + "("},   // cut in the middle
    };
    for (const auto& c : cases) {
        EXPECT_EQ(text::jsonEscape(c.in), c.out);
        EXPECT_EQ(text::lineEscape(c.in), c.out);
    }
}

TEST(Escape, ControlsAndSpecialCharacters) {
    const std::string in = "\0\x01\b\t\n\x1F \x7F\"\\&%\r"s;
    EXPECT_EQ(text::jsonEscape(in), R"(\u0000\u0001\u0008\t\n\u001F \u007F\"\\\u0026%\r)");
    EXPECT_EQ(text::lineEscape(in), R"(\x00\x01\x08\t\n\x1F \x7F"\&%\r)");
    EXPECT_EQ(text::percentEncode("aZ09-._~ +&=%\"\xC3\n\0"s), "aZ09-._~%20%2B%26%3D%25%22%C3%0A%00");
}

} // namespace
