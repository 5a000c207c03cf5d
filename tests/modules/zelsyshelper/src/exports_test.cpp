#include "zelsyshelper.h"

#include "support/fields.h"
#include "support/files.h"

#include <sstream>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

using testing_support::readBytes;
using testing_support::writeBytes;

class PropertyExports : public testing::Test {
protected:
    testing_support::TemporaryFolder folder;
    const std::wstring path = folder / L"test.cfg";
    const wchar_t* const file = path.c_str();
};

struct Read {
    std::uint64_t status = 0;
    std::wstring text{};
};
ZELSYS_FIELDS(Read, status, text)

TEST_F(PropertyExports, BufferNeedsOneSpareCharacter) {
    writeBytes(path, "four=1234\nfive=12345\nempty=\nbad=\xFF\nword=\xC3\xA9\xF0\x9F\x98\x80\n");
    const std::wstring untouched(16, L'#');
    const auto read = [&](const char* key, std::uint32_t capacity) {
        std::wstring buffer = untouched;
        return Read{getValueFromPropertyFile(file, key, buffer.data(), capacity), buffer.c_str()};
    };
    EXPECT_EQ(read("four", 6), Read{.text = L"1234"});
    EXPECT_EQ(read("five", 6), Read{.text = untouched});
    EXPECT_EQ(read("four", 0), Read{.text = untouched});
    EXPECT_EQ(read("bad", 16), Read{});
    EXPECT_EQ(read("word", 16), Read{.text = L"\u00E9\U0001F600"});
    EXPECT_EQ(read("absent", 16), (Read{.status = 100000, .text = untouched}));
    EXPECT_EQ(read("empty", 2), Read{});
    EXPECT_EQ(getValueFromPropertyFile((path + L"x").c_str(), "a", nullptr, 2), 100002u);
}

TEST_F(PropertyExports, Integers) {
    writeBytes(path, "text=abc\npart=12abc\nnegative= -7\nplus=+9\nempty=\nstored=-1000\n");
    const std::pair<const char*, std::int64_t> cases[] = {{"text", 0}, {"part", 12}, {"negative", -7},
                                                          {"plus", 9}, {"empty", 0}, {"absent", -1000}};
    for (const auto& [key, value] : cases)
        EXPECT_EQ(getIntFromPropertyFile(file, key), value) << key;
    EXPECT_EQ(getIntFromPropertyFile((path + L"x").c_str(), "text"), 100002);
}

TEST_F(PropertyExports, SetCreatesChangesAndRemoves) {
    EXPECT_EQ(setValueInPropertyFile(file, "k", L"gr\u00FC\xD83D\xDE00\xD83D"), 0u) << "no file existed";
    EXPECT_EQ(readBytes(path), "k=gr\xC3\xBC\xF0\x9F\x98\x80\n");
    EXPECT_EQ(isValueFromPropertyFileNotEmpty(file, "k"), 1u);
    EXPECT_EQ(setValueInPropertyFile(file, "k", L""), 1u);
    EXPECT_EQ(readBytes(path), "");
    EXPECT_EQ(isValueFromPropertyFileNotEmpty(file, "k"), 0u);
    const std::wstring large(1 << 20, L'x');
    EXPECT_EQ(setValueInPropertyFile(file, "large", large.c_str()), 1u);
    EXPECT_EQ(setValueInPropertyFile(file, "lines", L"1\nlarge=2"), 1u);
    EXPECT_EQ(readBytes(path).size(), large.size() + std::string("large=\nlines=1\nlarge=2\n").size());
    EXPECT_EQ(setValueInPropertyFile((path + L"\\no\\folder").c_str(), "k", L"v"), 0u);
}

TEST_F(PropertyExports, Nulls) {
    wchar_t buffer[4];
    EXPECT_EQ(getValueFromPropertyFile(nullptr, nullptr, buffer, 4), 100002u);
    EXPECT_EQ(setValueInPropertyFile(nullptr, nullptr, nullptr), 0u);
    EXPECT_EQ(getIntFromPropertyFile(nullptr, nullptr), 100002);
    EXPECT_EQ(isValueFromPropertyFileNotEmpty(nullptr, nullptr), 0u);
    EXPECT_EQ(setValueInPropertyFile(file, nullptr, L"v"), 0u);
    EXPECT_EQ(readBytes(path), "=v\n");
    EXPECT_EQ(getValueFromPropertyFile(file, nullptr, nullptr, 100), 0u) << "null: nothing is copied";
    EXPECT_EQ(isValueFromPropertyFileNotEmpty(file, nullptr), 1u);
}

TEST_F(PropertyExports, StoresOfBothForms) {
    for (const std::uint8_t enciphered : {std::uint8_t{0}, std::uint8_t{200}}) {
        const std::wstring store = path + std::to_wstring(enciphered);
        const wchar_t* const name = store.c_str();
        EXPECT_EQ(readProperty(name, "k", nullptr, 9, enciphered), 0u);
        EXPECT_EQ(writeProperty(name, "k", L"gr\u00FC\xD83D\xDE00", enciphered), 0u);
        EXPECT_EQ(readBytes(store) == "k=gr\xC3\xBC\xF0\x9F\x98\x80\n", enciphered == 0);
        wchar_t buffer[7] = L"######";
        EXPECT_EQ(readProperty(name, "k", buffer, 6, enciphered), 5u) << "no spare character";
        EXPECT_STREQ(buffer, L"######");
        EXPECT_EQ(readProperty(name, "k", buffer, 7, enciphered), 5u);
        EXPECT_STREQ(buffer, L"gr\u00FC\xD83D\xDE00");
        EXPECT_EQ(checkProperty(name, "k", enciphered), 1u);
        EXPECT_EQ(writeProperty(name, "k", nullptr, enciphered), 0u);
        EXPECT_EQ(checkProperty(name, "k", enciphered), 0u);
        EXPECT_EQ(readBytes(store), "");
    }
    writeProperty(file, "k", L"in the form that every release reads and writes", 1);
    EXPECT_EQ(
        readBytes(path),
        "\x94\xE3\x59\x04\x81\x7A\x80\x79\xFD\x3F\xE1\x73\xA5\x04\xC3\x2E\xD8\x10\x88\x09\xF2\x03\xAA\x65\xB4"
        "\x72\xE8\x64\xA1\x6C\xF6\x3D\xE7\x2C\xFD\x65\xA6\x11\xA2\x61\x9D\x6E\xD5\xBF\x77\xE0\x27\xB1\x87"
        "\x6A");
    writeBytes(path, "k=\n");
    EXPECT_EQ(checkProperty(file, "k", 0), 1u) << "an empty value is present";
    EXPECT_EQ(writeProperty(nullptr, nullptr, nullptr, 1), 100002u);
    EXPECT_EQ(writeProperty((path + L"\\no\\folder").c_str(), "k", L"v", 1), 100004u);
}

TEST(SwitchExports, SetAndClear) {
    const std::wstring name = L"test \u97F3 " + std::to_wstring(GetCurrentProcessId());
    const std::wstring path = std::wstring(_wgetenv(L"APPDATA")) + L"\\Quenlith\\" + name + L".fx";
    const auto value = [&](const char* key) {
        wchar_t buffer[8] = L"";
        readProperty(path.c_str(), key, buffer, 8, 1);
        return std::wstring(buffer);
    };
    clearFx(name.c_str());
    EXPECT_FALSE(std::filesystem::exists(path));
    enableFx(name.c_str(), "a", 7);
    enableFx((name + L"2").c_str(), "b", 1);
    enableFx(name.c_str(), "c", 0);
    EXPECT_EQ(value("a"), L"1");
    EXPECT_EQ(value("b"), L"") << "each name has its own file";
    EXPECT_EQ(value("c"), L"0");
    const auto setAll = [](const std::wstring& file, const std::string& key) {
        for (int i = 0; i < 40; ++i)
            enableFx(file.c_str(), (key + std::to_string(i)).c_str(), 1);
    };
    std::thread other(setAll, name + L"2", "y");
    setAll(name, "x");
    other.join();
    for (int i = 0; i < 40; ++i) {
        EXPECT_EQ(value(("x" + std::to_string(i)).c_str()), L"1");
        EXPECT_EQ(value(("y" + std::to_string(i)).c_str()), L"");
    }
    clearFx(name.c_str());
    EXPECT_EQ(std::filesystem::file_size(path), 0u);
    enableFx(name.c_str(), nullptr, 1);
    EXPECT_EQ(value("a"), L"");
    EXPECT_EQ(value(""), L"1");
    enableFx(nullptr, nullptr, 1);
    clearFx(nullptr);
    std::filesystem::remove(path);
    std::filesystem::remove(path.substr(0, path.size() - 3) + L"2.fx");
}

TEST(OtherExports, Nulls) {
    assignShellFolderViewOptions(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    retrieveShellFolderViewOptions(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    std::uint32_t view = 7, error = 7, status = 7;
    SortOption sort{7, 7}, group{7, 7};
    retrieveShellFolderViewOptions(nullptr, &view, &sort, &group, &error, &status);
    EXPECT_TRUE(view == 0 && error == 87 && status == 0 && sort.code + group.code == 0 &&
                sort.ascending == 1 && group.ascending == 1);
    createShellLink(nullptr, nullptr, nullptr, nullptr, nullptr);
    createShellLink(L"", nullptr, nullptr, &error, &status);
    EXPECT_EQ(std::pair(error, status), std::pair(87u, 2u)) << "the missing path, not the empty target";
    createShellLink(nullptr, nullptr, nullptr, &error, &status);
    EXPECT_EQ(std::pair(error, status), std::pair(87u, 1u));
    createShellLink(L"target", L"C:\\x.lnk", nullptr, &error, &status);
    EXPECT_EQ(std::pair(error, status), std::pair(0x01F0u, 21u)) << "COM is not initialised";
    EXPECT_EQ(isModuleLoaded(nullptr) + isModuleLoaded("\xFF"), 0u);
    EXPECT_EQ(isModuleLoaded("EXPORTS_TEST.exe"), 1u);
    getOsVersion(nullptr);
    std::uint8_t letter = 7, installed = 7;
    parseTestDefAndDecideAdvType(nullptr, &letter);
    parseTestDefAndDecideAdvType("A1", nullptr);
    EXPECT_EQ(isServiceInstalled(nullptr) + isServiceInstalled(&installed) + isServicePresent(nullptr), 0u);
    EXPECT_EQ(letter + installed, 0);
    EXPECT_EQ(installService(nullptr), -2);
}

// events_test.py runs the tests of `Events` with a statistics host, and checks the events that arrive.

TEST(Events, Nulls) {
    EXPECT_EQ(sendAppEvent(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                           nullptr),
              0u);
}

TEST(Events, FourThreads) {
    std::vector<std::thread> threads;
    for (const char* name : {"0", "1", "2", "3"})
        threads.emplace_back([name] {
            for (int i = 0; i < 10; ++i) {
                std::string text = name; // freed right after the export returns
                const char* t = text.c_str();
                EXPECT_EQ(i % 2 != 0 ? sendAppEventFull(t, t, t, t, t, t, t, t, t, t, t, t, t)
                                     : sendAppEvent(t, t, t, t, t, t, t, t, t, t),
                          0u);
            }
        });
    for (auto& thread : threads)
        thread.join();
}

TEST(Events, AtProcessEnd) {
    sendAppEvent("before", "", "", "", "", "", "", "", "", ""); // starts WinHTTP threads; exit ends them
    EXPECT_NE(LoadLibraryW(testing_support::besideThisProgram(L"sends_at_end.dll").c_str()), nullptr);
}

// shell_test.py runs this test. Its drive "Y:" has only the source: an accepted copy destroys nothing else.
TEST(OnADrive, CopyRefusesToDeleteTheSourceOrADrive) {
    ASSERT_TRUE(SetCurrentDirectoryW(L"Y:\\source"));
    const std::wstring source = std::filesystem::path(_wgetenv(L"SOURCE")).wstring();
    std::wstring upper = std::filesystem::path(source).parent_path().wstring();
    CharUpperW(upper.data());
    const std::pair<const wchar_t*, const wchar_t*> missing[] = {
        {nullptr, nullptr}, {nullptr, L"d"}, {L" \t", L"d"}, {L"", L""}};
    testing::internal::CaptureStdout();
    for (const auto& [from, to] : missing)
        EXPECT_EQ(copyDirEx(from, to), 1u);
    const std::string line = "error copy: 87\n";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), line + line + line + line);
    // The separator "|" is in no path.
    std::wstringstream destinations(
        LR"(| |.|..|\|Y:\|Y:|y:/source/..|\\?\Y:\|\\.\Y:|\??\Y:\|\\localhost\share|)"
        LR"(\\?\unc\localhost\share\|\\.\UNC\localhost\c$|)" +
        upper + L"|" + upper + LR"(\.\SOURCE\\|\\?\)" + upper);
    for (std::wstring to; std::getline(destinations, to, L'|');) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(copyDirEx(source.c_str(), to.c_str()), 1u) << std::filesystem::path(to);
        EXPECT_EQ(copyDirEx(L"Y:\\source", to.c_str()), 1u) << std::filesystem::path(to);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "error delete: 87\nerror delete: 87\n");
        ASSERT_EQ(readBytes(source + L"\\a\\file"), "a/file") << std::filesystem::path(to);
    }
}

} // namespace
