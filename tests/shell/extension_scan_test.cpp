#include "shell/extension_scan.h"

#include <gtest/gtest.h>

namespace {

TEST(Extension, CountsOnlyAsTheKeyOfAnObject) {
    const std::string id = "\"gmbkafodnhelcjpibgkmdoafhnecjlpb\"";
    const std::pair<std::string, bool> cases[] = {
        {"", false},
        {id, false},
        {id + ":", false},
        {id + ":{", true},
        {"{\"settings\":{" + id + " \t\r\n: \v\f{\"a\":1}}}", true},
        {id + "{", false},
        {id + "::{", false},
        {id + ":[{", false},
        {id + ":\"{", false},
        {id + ",:{", false},
        {"[" + id + "]," + id + ":\"x\"," + id + ":{}", true},
        {id + id + ":{", true},
        {id + ":" + id + ":{", true},
        {id.substr(1) + ":{", false},
        {"\"x" + id.substr(1) + ":{", false},
        {"\"GMBKAFODNHELCJPIBGKMDOAFHNECJLPB\":{", false},
        {std::string("\"\0\"", 3) + id + ":\xC3\xA4{", false},
    };
    for (const auto& [text, isListed] : cases)
        EXPECT_EQ(shell::listsExtension(text), isListed) << text;
}

} // namespace
