#include "corelog/log_line.h"

#include <gtest/gtest.h>

namespace {

CoreLog::LineParts parts(std::string_view text) {
    return {{2026, 1, 2, 3, 4, 5, 6}, 7, 8, 3, "Tag\n", "a/b\\file.cpp", 42, text};
}

TEST(LogLine, OneMessageIsOneLine) {
    EXPECT_EQ(CoreLog::formatLine(parts("first\r\nsecond\xFF")),
              "2026-01-02T03:04:05.006Z 7 8 3 Tag\\n file.cpp:42 first\\r\\nsecond\xEF\xBF\xBD\n");
}

TEST(LogLine, LongTextIsTruncated) {
    const std::string longest(CoreLog::kLongestText, 'x');
    EXPECT_EQ(CoreLog::formatLine(parts(longest)).find("[cut]"), std::string::npos);
    const std::string line = CoreLog::formatLine(parts(longest.substr(1) + "\xC3\xA9z"));
    EXPECT_TRUE(line.ends_with("x [cut]\n")) << "truncation splits no character";
    EXPECT_LT(line.size(), longest.size() + 100);
}

} // namespace
