#include "ui/common/stat/app_identity.h"

#include <gtest/gtest.h>

#include <set>

namespace {

TEST(AppIdentity, FixedRows) {
    EXPECT_EQ(stats::folderKey(2), "ZelPixelConverter");
    EXPECT_EQ(stats::shortCode(2), "cvpix");
    EXPECT_EQ(stats::folderKey(53), "ZelClipGrabber");
    EXPECT_EQ(stats::displayName(53, true), "");
    for (const auto& [id, code] : std::initializer_list<std::pair<stats::ApplicationId, std::string_view>>{
             {6, "_3"}, {7, "_4"}, {13, "_8"}, {stats::kWholeSuite, "po"}, {4, "unkn"}, {69, "unkn"}})
        EXPECT_EQ(stats::shortCode(id), code);
    for (const stats::ApplicationId none : {4u, 69u, stats::kWholeSuite})
        EXPECT_TRUE(stats::folderKey(none).empty() && stats::displayName(none, false).empty()) << none;
    EXPECT_NE(stats::displayName(0, false), stats::displayName(0, true))
        << "the edition has a name of its own";
}

TEST(AppIdentity, EveryRowIsFoundAndUnlikeTheOthers) {
    std::set<std::string_view> folders, names, codes;
    for (stats::ApplicationId id = 0; id <= 68; ++id) {
        folders.insert(stats::folderKey(id));
        names.insert(stats::displayName(id, true));
        codes.insert(stats::shortCode(id));
        std::string joined(stats::displayName(id, true));
        std::erase(joined, ' ');
        EXPECT_TRUE(joined.empty() || joined == stats::folderKey(id)) << id;
    }
    EXPECT_EQ(folders.size(), 30u + 1) << "with that of the unknown ones";
    EXPECT_EQ(names.size(), 29u + 1);
    EXPECT_EQ(codes.size(), 28u + 1);
}

} // namespace
