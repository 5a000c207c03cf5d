#include "corelog/logger.h"
#include "support/files.h"
#include "support/seam.h"
#include "ui/common/stat/app_data_path.h"
#include "ui/common/stat/app_identity.h"
#include "win32/known_folders.h"

#include <algorithm>
#include <set>

#include <gtest/gtest.h>

ZELSYS_SEAM(L"kernel32.dll", LoadLibraryExW)

namespace {

using stats::applicationDataPath;
using stats::DataPathKind;
using win32::KnownFolder;

TEST(AppIdentity, FixedRows) {
    EXPECT_EQ(stats::displayName(53, true), "");
    const std::pair<stats::ApplicationId, std::string_view> codes[] = {
        {6, "_3"}, {13, "_8"}, {stats::kWholeSuite, "po"}, {4, "unkn"}, {69, "unkn"}};
    for (const auto& [id, code] : codes)
        EXPECT_EQ(stats::shortCode(id), code);
    EXPECT_EQ(stats::folderKey(stats::kWholeSuite), "");
    EXPECT_EQ(stats::displayName(4, false), "");
    EXPECT_NE(stats::displayName(0, false), stats::displayName(0, true)) << "the edition has its own name";
}

TEST(AppIdentity, EveryRowIsUnique) {
    std::set<std::string_view> folders, names, codes;
    std::set<stats::ApplicationId> known;
    for (stats::ApplicationId id = 0; id <= 99; ++id) {
        if (!stats::folderKey(id).empty())
            known.insert(id);
        folders.insert(stats::folderKey(id));
        names.insert(stats::displayName(id, true));
        codes.insert(stats::shortCode(id));
        std::string joined(stats::displayName(id, true));
        std::erase(joined, ' ');
        EXPECT_TRUE(joined.empty() || joined == stats::folderKey(id)) << id;
    }
    const std::set<stats::ApplicationId> fixed = {0,  1,  2,  3,  5,  6,  7,  8,  10, 12, 13, 14, 17, 19, 21,
                                                  22, 25, 28, 30, 33, 36, 39, 42, 45, 48, 50, 53, 57, 61, 68};
    EXPECT_EQ(known, fixed) << "applications pass these numbers";
    EXPECT_EQ(folders.size(), 30u + 1) << "including that of unknown applications";
    EXPECT_EQ(names.size(), 29u + 1);
    EXPECT_EQ(codes.size(), 28u + 1);
}

TEST(AppDataPath, Forms) {
    const std::wstring roaming = win32::knownFolder(KnownFolder::roamingAppData, {});
    const std::wstring local = win32::knownFolder(KnownFolder::localAppData, {});
    ASSERT_FALSE(roaming.empty());
    const std::wstring suite = roaming + L"\\Quenlith", converter = suite + L"\\ZelPixelConverter";
    RemoveDirectoryW(converter.c_str());
    EXPECT_EQ(applicationDataPath(DataPathKind::settings, stats::kWholeSuite), suite);
    EXPECT_EQ(applicationDataPath(DataPathKind::settings, 2), converter);
    EXPECT_EQ(GetFileAttributesW(converter.c_str()), FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_EQ(applicationDataPath(DataPathKind::settings, 999), suite);
    EXPECT_EQ(applicationDataPath(DataPathKind::local, 0), local + L"\\Zel Video Converter");
    EXPECT_EQ(applicationDataPath(DataPathKind::logs, stats::kWholeSuite), roaming + L"\\logs");
    EXPECT_EQ(applicationDataPath(static_cast<DataPathKind>(3), 2), L".");
}

TEST(AppDataPath, WithoutTheShellReturnsTheCurrentDirectoryAndLogsOneLine) {
    const testing_support::TemporaryFolder folder;
    SetCurrentDirectoryW((folder / L"").c_str());
    CoreLog::setSettingsName("PathTest");
    CoreLog::LoggerSlot logger;
    ASSERT_EQ(CoreLog::createLogger(logger), 0); // caches the log's folder while shell32.dll can be loaded
    const std::wstring log = win32::logsFolder({}) + L"\\PathTest.log";
    const auto problem = [&](HMODULE shell, DWORD error) {
        DeleteFileW(log.c_str());
        LoadLibraryExWSeam::fake = [=](LPCWSTR name, HANDLE file, DWORD flags) {
            if (!std::wstring(name).ends_with(L"\\shell32.dll"))
                return LoadLibraryExWSeam::real(name, file, flags);
            SetLastError(error);
            return shell;
        };
        EXPECT_EQ(applicationDataPath(DataPathKind::settings, 2), L".");
        const std::string lines = testing_support::readBytes(log);
        EXPECT_EQ(std::ranges::count(lines, '\n'), 1);
        return lines.substr(lines.find(".cpp:") + 1);
    };
    EXPECT_TRUE(problem(nullptr, 126).ends_with(" Couldn't load dllshell32.dll | err =126\n"));
    EXPECT_TRUE(
        problem(LoadLibraryW(L"version.dll"), 0).ends_with(" GetProcAddress return null | err =127\n"));
    LoadLibraryExWSeam::restore();
    SetCurrentDirectoryW(L"C:\\");
}

} // namespace
