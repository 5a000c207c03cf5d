#include "zelsyshelper_load.hpp"

#include "support/fields.h"
#include "support/files.h"
#include "support/servers.h"

#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

#include <process.h>

#include <gtest/gtest.h>

namespace {

struct Errors {
    std::uint32_t errorCode = 0, errorStage = 0, httpStatus = 0;
};
ZELSYS_FIELDS(Errors, errorCode, errorStage, httpStatus)

class Download : public testing::Test {
protected:
    ~Download() override { stopDownloadFile(); }

    std::uint64_t start(const std::wstring& path, const std::wstring& into) const {
        return startDownloadFile(L"127.0.0.1", port, nullptr, nullptr,
                                 (L" http://some.example" + path + L"\t").c_str(), into.c_str());
    }

    static Errors errors() {
        Errors last{77, 77, 77};
        EXPECT_EQ(getDownloadFileErrors(&last.errorCode, &last.errorStage, &last.httpStatus), 0u);
        return last;
    }

    /// Blocks until the download has ended, and returns its errors.
    static Errors finish() {
        std::uint8_t completed = 0, started = 1;
        while (isDownloadFileCompleted(&completed) == 0 && completed == 0)
            Sleep(10);
        std::uint32_t percent = 0;
        EXPECT_EQ(getDownloadFileProgress(&percent) + isDownloadFileStarted(&started), 0u);
        EXPECT_EQ(percent, 100u) << "whatever the outcome";
        EXPECT_EQ(started, 0);
        return errors();
    }

    Errors run(const std::wstring& path, const std::wstring& into) const {
        EXPECT_EQ(start(path, into), 0u);
        return finish();
    }

    const std::uint32_t port = testing_support::port("PLAIN");
    testing_support::TemporaryFolder folder;
    const std::wstring target = folder / L"made\\by the way";
};

TEST_F(Download, QueriesFailWithoutADownload) {
    std::uint32_t number = 77;
    std::uint8_t flag = 77;
    for (const std::uint64_t result :
         {getDownloadFileProgress(&number), getDownloadElapsedTimeInSeconds(&number),
          getDownloadFileErrors(&number, &number, &number), isDownloadFileCompleted(&flag),
          isDownloadFileStarted(&flag)})
        EXPECT_EQ(result, 1805u);
    EXPECT_EQ(number, 77u) << "unchanged";
    EXPECT_EQ(flag, 77) << "unchanged";
    stopDownloadFile();
    EXPECT_EQ(startDownloadFile(nullptr, 0, nullptr, nullptr, nullptr, nullptr), 0u);
    EXPECT_EQ(errors(), Errors{.errorStage = 20});
    EXPECT_EQ(isDownloadFileCompleted(&flag), 0u);
    EXPECT_EQ(flag, 0);
    EXPECT_EQ(getDownloadFileProgress(nullptr), 0u);
    EXPECT_EQ(isDownloadFileStarted(nullptr), 0u);
    EXPECT_EQ(getDownloadFileErrors(nullptr, nullptr, nullptr), 0u);
}

TEST_F(Download, SuccessiveDownloadsWithoutAStop) {
    const struct {
        std::wstring path;
        Errors errors;
        std::wstring file;
        std::size_t size;
    } cases[] = {
        {L"/file/30000000/big.bin", {.httpStatus = 200}, L"big.bin", 30'000'000},
        {L"/file/1000/big.bin", {.httpStatus = 200}, L"big.bin", 1000}, // overwrites the existing file
        {L"/file/7/a%20b \u00E9.bin", {.httpStatus = 200}, L"a%20b \u00E9.bin", 7},
        {L"/status/404", {.httpStatus = 404}, L"404", 11},
        {L"/nolength/n", {.errorStage = 60, .httpStatus = 203}, L"n", 0},
        {L"/short/s", {.errorStage = 14121, .httpStatus = 200}, L"s", 5},
        {L"/close/c", {.errorCode = 12152, .errorStage = 14114}, L"c", 0},
        {L"/file/7/a?b", {.errorCode = 123, .errorStage = 70}, L"a", 0},
        {L"/file/7/NUL", {.errorCode = 123, .errorStage = 70}, L"NUL", 0},
        {L"/file/7/CON", {.errorCode = 123, .errorStage = 70}, L"CON", 0},
        {L"/file/7/", {.errorCode = 87, .errorStage = 70}, L"", 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(run(c.path, target), c.errors) << testing::PrintToString(c.path);
        const std::string bytes = testing_support::readBytes(target + L"\\" + c.file);
        ASSERT_EQ(bytes.size(), c.size) << testing::PrintToString(c.path);
        for (std::size_t i = 0; c.path.starts_with(L"/file") && i < bytes.size(); ++i)
            ASSERT_EQ(static_cast<unsigned char>(bytes[i]), i % 251);
    }
    EXPECT_EQ(startDownloadFile(nullptr, 0, nullptr, nullptr, L"", nullptr), 0u);
    EXPECT_EQ(finish(), (Errors{.errorCode = 12006, .errorStage = 14102}));

    EXPECT_EQ(run(L"/file/7/default.bin", L" "), Errors{.httpStatus = 200});
    const std::wstring path = std::wstring(_wgetenv(L"APPDATA")) + L"\\Quenlith\\default.bin";
    EXPECT_EQ(testing_support::readBytes(path).size(), 7u) << "a blank path selects the settings folder";
    DeleteFileW(path.c_str());
}

TEST_F(Download, SecondStartIsRefusedWhileOneRuns) {
    EXPECT_EQ(start(L"/trickle/t", target), 0u);
    EXPECT_EQ(start(L"/file/7/f", target), 0u);
    EXPECT_EQ(errors(), Errors{.errorStage = 10});
    std::uint32_t percent = 0, seconds = 0;
    while (percent < 5 || seconds < 1) {
        ASSERT_EQ(getDownloadFileProgress(&percent) + getDownloadElapsedTimeInSeconds(&seconds), 0u);
        Sleep(10);
    }
    EXPECT_LT(percent, 100u);
    stopDownloadFile();
    EXPECT_EQ(getDownloadFileProgress(&percent), 1805u);
    EXPECT_EQ(run(L"/file/7/f", target), Errors{.httpStatus = 200});
}

/// Some applications load the library only to download one file.
TEST_F(Download, LibraryCanBeFreed) {
    const std::wstring copy = folder / L"freed.dll";
    CopyFileW(testing_support::besideThisProgram(L"zelsyshelper.dll").c_str(), copy.c_str(), FALSE);
    for (const bool isPolite : {true, false}) {
        {
            const zelsyshelper_load library(copy.c_str());
            EXPECT_EQ(library.startDownloadFile(L"127.0.0.1", port, nullptr, nullptr,
                                                L"http://some.example/late/x", target.c_str()),
                      0u);
            if (isPolite)
                library.stopDownloadFile();
        }
        for (int i = 0; i < 1000 && GetModuleHandleW(L"freed.dll") != nullptr; ++i)
            Sleep(10); // the worker holds a reference to the module until it ends
        EXPECT_EQ(GetModuleHandleW(L"freed.dll"), nullptr) << isPolite;
    }
}

TEST_F(Download, CallsFromManyThreads) {
    std::atomic<int> starters = 3;
    std::vector<std::jthread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            for (int starts = 0; starts < 100; ++starts) {
                EXPECT_EQ(startDownloadFile(nullptr, 0, nullptr, nullptr, L"", nullptr), 0u);
                stopDownloadFile();
            }
            --starters;
        });
        threads.emplace_back([&] {
            std::uint32_t number = 0;
            while (starters > 0) {
                const auto result = getDownloadFileErrors(&number, &number, &number);
                EXPECT_TRUE(result == 0 || result == 1805) << result;
            }
        });
    }
}

/// Process exit ends the worker. No static destructor may wait for it, even one that calls stopDownloadFile.
TEST_F(Download, ProcessExitDoesNotWaitForTheWorker) {
    constexpr wchar_t kVariable[] = L"ZELSYS_TEST_EXIT";
    if (const wchar_t* exit = _wgetenv(kVariable)) { // in the second process
        EXPECT_EQ(start(L"/silent/x", target), 0u);
        EXPECT_TRUE(exit != std::wstring(L"stops") ||
                    LoadLibraryW(testing_support::besideThisProgram(L"sends_at_end.dll").c_str()) != nullptr);
        std::fflush(stdout);
        std::exit(HasFailure());
    }
    for (const wchar_t* exit : {L"leaves", L"stops"}) {
        SetEnvironmentVariableW(kVariable, exit);
        const ULONGLONG begin = GetTickCount64();
        EXPECT_EQ(_wspawnl(_P_WAIT, testing_support::besideThisProgram(L"download_test.exe").c_str(), L"x",
                           L"--gtest_filter=Download.ProcessExitDoesNotWaitForTheWorker", nullptr),
                  0);
        EXPECT_LT(GetTickCount64() - begin, 10'000u) << exit;
    }
    SetEnvironmentVariableW(kVariable, nullptr);
}

} // namespace
