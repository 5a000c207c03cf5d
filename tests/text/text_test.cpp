#include "text/escape.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

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
