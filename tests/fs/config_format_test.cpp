#include "fs/config_format.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using fs::ConfigValues;

ConfigValues parse(const std::string& contents) {
    ConfigValues values;
    fs::parseConfig(contents, values);
    return values;
}

TEST(ConfigFormat, Parse) {
    const struct {
        std::string contents;
        ConfigValues values;
    } cases[] = {
        {"", {}},
        {"\0\0"s, {}},
        {"b=2\r\na=1\r\na=3\r\nnoequals\r\n\r\nc=x=y", {{"a", "1"}, {"b", "2"}, {"c", "x=y"}}},
        {"=empty key\nk=\n", {{"", "empty key"}, {"k", ""}}},
        {" a = 1 \na=2\nA=3", {{" a ", " 1 "}, {"a", "2"}, {"A", "3"}}},
        {";c=1\n#d=2\n[s]", {{";c", "1"}, {"#d", "2"}}},
        {"\xEF\xBB\xBFk=v", {{"\xEF\xBB\xBFk", "v"}}},
        {"a=x\ry\r\r\nb=1\r\0\0\0"s, {{"a", "xy"}, {"b", "1"}}},
        {"a=1\r\0b=2\n\0"s, {{"a", "1\0b=2"s}}}, // a zero byte in the middle is data
        {"\n\n\n=", {{"", ""}}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(parse(c.contents), c.values) << c.contents;
        for (const std::string key : {"a", "b", "c", "", " a ", "k", "c=x", "a\r", "noequals"}) {
            const auto parsed = c.values.find(key);
            for (std::size_t cut = 0; cut <= c.contents.size(); ++cut) {
                fs::ConfigSearch search(key);
                search.take(std::string_view(c.contents).substr(0, cut));
                search.take(std::string_view(c.contents).substr(cut));
                EXPECT_EQ(search.finish(),
                          parsed != c.values.end() ? std::optional(parsed->second) : std::nullopt)
                    << c.contents << " " << key << " " << cut;
            }
        }
    }
}

TEST(ConfigFormat, SerialiseSortsByBytesAndLeavesOutEmptyValues) {
    EXPECT_EQ(fs::serialiseConfig(
                  {{"ab", "3"}, {"a", "1=2"}, {"\xC3\xA9", "4"}, {"Z", "5"}, {"gone", ""}, {"", "e"}}),
              "=e\nZ=5\na=1=2\nab=3\n\xC3\xA9=4\n");
}

} // namespace
