#include "corelog/log_file.h"
#include "corelog/log_message.h"
#include "support/files.h"
#include "support/seam.h"
#include "win32/known_folders.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

ZELSYS_SEAM(L"kernel32.dll", CreateFileW)

namespace {

using testing_support::readBytes;
using testing_support::writeBytes;

constexpr int kLinesPerWriter = 4000;
constexpr char kWriterVariable[] = "ZELSYS_TEST_LOG_WRITER";

class Logger : public testing::Test {
protected:
    Logger() {
        CoreLog::setSettingsName("LoggerTest");
        clear();
    }
    ~Logger() override {
        CreateFileWSeam::restore();
        clear();
    }

    void clear() const {
        for (const wchar_t* extension : {L".log", L".log.1", L".cfg"})
            DeleteFileW((base + extension).c_str());
    }

    void logAllLevels() const {
        CoreLog::LoggerSlot logger;
        ASSERT_EQ(CoreLog::createLogger(logger), 0);
        for (const unsigned level : {3u, 6u, 7u})
            CoreLog::CLogMsgMultibyte(logger.get(), level, nullptr, nullptr, 1)
                << "level " << level << ' ' << -1;
    }

    const std::wstring base = win32::logsFolder({}) + L"\\LoggerTest";
};

TEST_F(Logger, ThresholdComesFromTheSettingsAtEachRequest) {
    const std::map<std::string, int> linesByLevel = {{"", 1},          {"Level=7\n", 3},
                                                     {"Level=6\n", 2}, {"Level=2\n", 0},
                                                     {"level=7\n", 1}, {"Level=nonsense\n", 1}};
    for (const auto& [settings, lines] : linesByLevel) {
        clear();
        if (!settings.empty())
            writeBytes(base + L".cfg", settings);
        logAllLevels();
        EXPECT_EQ(std::ranges::count(readBytes(base + L".log"), '\n'), lines) << settings;
    }
    clear();
    logAllLevels();
    EXPECT_TRUE(readBytes(base + L".log").ends_with(" 3  :1 level 3 -1\n"));
}

TEST_F(Logger, FileThatCannotBeOpenedIsAnErrorAndNothingMore) {
    CoreLog::LoggerSlot logger;
    ASSERT_EQ(CoreLog::createLogger(logger), 0);
    CreateFileWSeam::fake = [](auto...) {
        SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_HANDLE_VALUE;
    };
    EXPECT_EQ(CoreLog::createLogger(logger), ERROR_ACCESS_DENIED);
    EXPECT_EQ(CreateFileWSeam::calls, 2) << "the one above and this one";
    EXPECT_EQ(logger, nullptr) << "the logger that was there is released";
    CoreLog::CLogMsgMultibyte(logger.get(), 3, "tag", "file", 1) << "no harm";
}

void writeLines(const std::wstring& path, const std::string& writer) {
    CoreLog::LogFile file;
    ASSERT_EQ(file.open(path), 0u);
    for (int i = 0; i < kLinesPerWriter; ++i)
        file.append(writer + " " + std::to_string(i) + " " +
                    std::string(static_cast<std::size_t>(i) % 500, 'x') + "\n");
}

/// Runs this program once more as a writer; the test below starts it.
TEST(LogWriter, RunsInASecondProcess) {
    if (const char* path = std::getenv(kWriterVariable))
        writeLines(std::filesystem::path(path).wstring(), "process" + std::to_string(GetCurrentProcessId()));
}

TEST(LogFile, NoLineIsTornOrLostWhenProcessesAndThreadsShareTheFileAcrossAHandOver) {
    const testing_support::TemporaryFolder folder;
    const std::wstring path = folder / L"shared.log";
    // Three writers of about 1.1 MB each, on a file that is 2.5 MB short of its bound.
    writeBytes(path, std::string(CoreLog::kLargestLog - 2'500'000, '\n'));
    SetEnvironmentVariableW(L"ZELSYS_TEST_LOG_WRITER", path.c_str());
    wchar_t command[MAX_PATH + 100];
    GetModuleFileNameW(nullptr, command, MAX_PATH);
    wcscat(command, L" --gtest_filter=LogWriter.*");
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    ASSERT_TRUE(
        CreateProcessW(nullptr, command, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process));
    std::thread first(writeLines, path, "thread1"), second(writeLines, path, "thread2");
    first.join();
    second.join();
    EXPECT_EQ(WaitForSingleObject(process.hProcess, 60'000), WAIT_OBJECT_0);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);

    const std::string older = readBytes(path + L".1"), newer = readBytes(path);
    EXPECT_GT(older.size(), 0u) << "the file was handed over";
    EXPECT_LE(older.size(), static_cast<std::size_t>(CoreLog::kLargestLog));
    EXPECT_LE(newer.size(), static_cast<std::size_t>(CoreLog::kLargestLog));
    std::map<std::string, int> next; // the number that each writer's next line must have
    std::istringstream lines(older + newer);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty())
            continue;
        std::istringstream words(line);
        std::string writer, filling;
        int number = -1;
        words >> writer >> number >> filling;
        ASSERT_EQ(number, next[writer]++) << line;
        ASSERT_EQ(filling, std::string(static_cast<std::size_t>(number) % 500, 'x'));
    }
    ASSERT_EQ(next.size(), 3u);
    for (const auto& [writer, count] : next)
        EXPECT_EQ(count, kLinesPerWriter) << writer;
}

} // namespace
