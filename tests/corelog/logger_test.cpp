#include "corelog/log_file.h"
#include "corelog/log_message.h"
#include "support/files.h"
#include "support/seam.h"
#include "win32/file_lock.h"
#include "win32/known_folders.h"

#include <process.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

ZELSYS_SEAM(L"kernel32.dll", CreateDirectoryW)
ZELSYS_SEAM(L"kernel32.dll", GetTickCount64)
ZELSYS_SEAM(L"kernel32.dll", LockFileEx)
ZELSYS_SEAM(L"kernel32.dll", ReadFile)
ZELSYS_SEAM(L"kernel32.dll", WriteFile)

namespace {

using testing_support::readBytes;
using testing_support::writeBytes;

constexpr int kLinesPerWriter = 4000;
constexpr wchar_t kWriterVariable[] = L"ZELSYS_TEST_LOG_WRITER";

class Logger : public testing::Test {
protected:
    Logger() {
        CoreLog::setSettingsName("LoggerTest");
        clear();
    }
    ~Logger() override { clear(), testing_support::restoreSeams(); }

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

TEST_F(Logger, ThresholdFollowsTheSettingsWithinASecond) {
    ULONGLONG now = 1000;
    GetTickCount64Seam::fake = [&] { return now; };
    logAllLevels();
    EXPECT_TRUE(readBytes(base + L".log").ends_with(" 3  :1 level 3 -1\n")) << "without a settings file";
    const std::map<std::string, int> linesByLevel = {
        {"Level=7\n", 3}, {"Level=6a\n", 2}, {"Level=2\n", 0}, {"level=7\n", 1}, {"Level=nonsense\n", 1}};
    for (const auto& [settings, lines] : linesByLevel) {
        clear();
        writeBytes(base + L".cfg", settings);
        lines > 1 ? CoreLog::setSettingsName("LoggerTest") : void(now += 1000); // both read the file again
        logAllLevels();
        EXPECT_EQ(std::ranges::count(readBytes(base + L".log"), '\n'), lines) << settings;
    }
}

TEST_F(Logger, NameChangesOnlyAfterALoggerHasReadItsSettings) {
    writeBytes(base + L".cfg", "Level=7\n");
    std::atomic<bool> isStarted = false, isChanged = false;
    std::jthread other;
    ReadFileSeam::fake = [&](auto... arguments) {
        if (!other.joinable())
            other = std::jthread([&] {
                isStarted = true;
                CoreLog::setSettingsName("Another");
                isChanged = true;
            });
        while (!isStarted)
            SwitchToThread();
        Sleep(30);
        EXPECT_FALSE(isChanged) << "the logger would mix both names";
        return ReadFileSeam::real(arguments...);
    };
    CoreLog::LoggerSlot logger;
    EXPECT_EQ(CoreLog::createLogger(logger), 0);
    EXPECT_EQ(logger->threshold(), 7);
}

TEST_F(Logger, MissingFolderIsAnErrorAndAnUnusableFileIsNot) {
    CoreLog::LoggerSlot logger;
    CoreLog::setSettingsName("no\\such\\folder");
    ASSERT_EQ(CoreLog::createLogger(logger), 0);
    CoreLog::CLogMsgMultibyte(logger.get(), 3, "tag", "file", 1) << "lost";
    CreateDirectoryWSeam::failWith(ERROR_ACCESS_DENIED);
    EXPECT_EQ(CoreLog::createLogger(logger), ERROR_ACCESS_DENIED);
    EXPECT_EQ(logger, nullptr) << "the previous logger is destroyed";
}

std::string lineOf(const std::string& writer, int number) {
    return writer + " " + std::to_string(number) + " " +
           std::string(static_cast<std::size_t>(number % 500), 'x');
}

void writeLines(const std::wstring& path, const std::string& writer) {
    CoreLog::LogFile file(path);
    for (int i = 0; i < kLinesPerWriter; ++i)
        file.append(lineOf(writer, i) + "\n");
}

/// Writes lines in the second process, which the next test starts. Does nothing in the first.
TEST(LogWriter, RunsInASecondProcess) {
    if (const wchar_t* path = _wgetenv(kWriterVariable))
        writeLines(path, "process");
}

TEST(LogFile, HandOverWithConcurrentWritersLosesNoLine) {
    const testing_support::TemporaryFolder folder;
    const std::wstring path = folder / L"shared.log";
    // Three writers of about 1.1 MB each. 2.5 MB are left before the hand-over.
    writeBytes(path, std::string(CoreLog::kLargestLog - 2'500'000, '\n'));
    SetEnvironmentVariableW(kWriterVariable, path.c_str());
    const std::wstring program = testing_support::besideThisProgram(L"corelog_test.exe");
    const auto process =
        _wspawnl(_P_NOWAIT, program.c_str(), L"writer", L"--gtest_filter=LogWriter.*", nullptr);
    std::thread first(writeLines, path, "thread1"), second(writeLines, path, "thread2");
    first.join();
    second.join();
    int code = 1;
    _cwait(&code, process, 0);
    EXPECT_EQ(code, 0);

    const std::string older = readBytes(path + L".1"), newer = readBytes(path);
    EXPECT_GT(older.size(), 0u) << "the file was handed over";
    std::map<std::string, int> next; // the number that each writer's next line must have
    std::istringstream lines(older + newer);
    for (std::string line; std::getline(lines >> std::ws, line);) {
        const std::string writer = line.substr(0, line.find(' '));
        ASSERT_EQ(line, lineOf(writer, next[writer]++));
    }
    ASSERT_EQ(next.size(), 3u);
    for (const auto& [writer, count] : next)
        EXPECT_EQ(count, kLinesPerWriter) << writer;
}

TEST(LogFile, FullDiskLeavesNoPartOfALine) {
    const testing_support::TemporaryFolder folder;
    CoreLog::LogFile file(folder / L"full.log");
    file.append("before\n");
    WriteFileSeam::restore();
    WriteFileSeam::fake = [](HANDLE handle, LPCVOID bytes, DWORD, LPDWORD written, LPOVERLAPPED place) {
        SetLastError(ERROR_DISK_FULL);
        return WriteFileSeam::calls == 1 && WriteFileSeam::real(handle, bytes, 3, written, place);
    };
    file.append("torn\n");
    testing_support::restoreSeams();
    file.append("after\n");
    EXPECT_EQ(readBytes(folder / L"full.log"), "before\nafter\n");
}

TEST(LogFile, WaitsForAStuckLockOnlyOnce) {
    const testing_support::TemporaryFolder folder;
    const std::wstring path = folder / L"stuck.log";
    writeBytes(path, "");
    const win32::KernelHandle handle(testing_support::openToRead(path, FILE_SHARE_READ | FILE_SHARE_WRITE));
    ASSERT_EQ(win32::lockFile(handle.get(), win32::LockKind::exclusive, 0), win32::LockState::held);
    const auto attempts = [&](const char* line) {
        LockFileExSeam::restore();
        CoreLog::LogFile(path).append(line);
        return LockFileExSeam::calls.load();
    };
    ULONGLONG ticks = 0;
    GetTickCount64Seam::fake = [&] { return ticks += 100; };
    EXPECT_EQ(attempts("1\n"), 20) << "for two seconds";
    EXPECT_EQ(attempts("2\n"), 1);
    win32::unlockFile(handle.get());
    EXPECT_EQ(attempts("3\n"), 1);
    win32::lockFile(handle.get(), win32::LockKind::exclusive, 0);
    EXPECT_EQ(attempts("4\n"), 20) << "the lock was free in between";
    LockFileExSeam::failWith(ERROR_NOT_SUPPORTED);
    CoreLog::LogFile(path).append("5\n");
    EXPECT_EQ(LockFileExSeam::calls, 1) << "a file system without locks";
    EXPECT_EQ(readBytes(path), "1\n2\n3\n4\n5\n");
    testing_support::restoreSeams();
}

TEST(LogFile, OnlyTheEndOfAHugeFileIsCopied) {
    const testing_support::TemporaryFolder folder;
    const std::wstring path = folder / L"huge.log";
    const std::string end = "whole line\n" + std::string(CoreLog::kLargestLog - 20, 'x') + "\n";
    writeBytes(path, std::string(3 * CoreLog::kLargestLog, 'y') + '\n' + end);
    CoreLog::LogFile(path).append("new\n");
    EXPECT_EQ(readBytes(path), "new\n");
    EXPECT_TRUE(readBytes(path + L".1") == end);

    std::filesystem::resize_file(path, (4ull << 30) + 10);
    LockFileExSeam::failWith(ERROR_NOT_SUPPORTED); // then append writes to the end of the file
    CoreLog::LogFile(path).append("after four gigabytes\n");
    LockFileExSeam::restore();
    EXPECT_EQ(std::filesystem::file_size(path), 21u);

    DeleteFileW((path + L".1").c_str());
    CreateDirectoryW((path + L".1").c_str(), nullptr); // no copy can be created
    std::filesystem::resize_file(path, CoreLog::kLargestLog);
    CoreLog::LogFile(path).append("x");
    EXPECT_EQ(std::filesystem::file_size(path), CoreLog::kLargestLog + 1) << "not lost";
    RemoveDirectoryW((path + L".1").c_str());
    CoreLog::LogFile(path).append("x");
    EXPECT_EQ(std::filesystem::file_size(path), CoreLog::kLargestLog + 2) << "not retried for each line";
    ReadFileSeam::failWith(ERROR_CRC);
    std::filesystem::resize_file(path, 2 * CoreLog::kLargestLog); // the next attempt
    CoreLog::LogFile(path).append("x");
    EXPECT_EQ(std::filesystem::file_size(path), 2 * CoreLog::kLargestLog + 1) << "kept after a partial copy";
    std::filesystem::resize_file(path, 2 * CoreLog::kLargestLog + 262'144);
    ReadFileSeam::fake = [](auto, auto, auto, DWORD* count, auto) { return *count = 0, TRUE; };
    CoreLog::LogFile(path).append("x");
    EXPECT_EQ(std::filesystem::file_size(path), 1u) << "the disk must not fill up";
    ReadFileSeam::restore();
}

TEST(LogFile, IsHandedOverAtTheLimitAndCanBeRenamed) {
    const testing_support::TemporaryFolder folder;
    const std::wstring path = folder / L"limit.log";
    writeBytes(path, "first\n" + std::string(CoreLog::kLargestLog - 10, 'x'));
    CoreLog::LogFile file(path);
    file.append("abc\n");
    EXPECT_EQ(std::filesystem::file_size(path), CoreLog::kLargestLog);
    file.append("\n");
    EXPECT_EQ(std::filesystem::file_size(path), 1u);
    EXPECT_EQ(std::filesystem::file_size(path + L".1"), CoreLog::kLargestLog);
    EXPECT_TRUE(MoveFileW(path.c_str(), (folder / L"renamed").c_str())) << "while the logger has it open";
}

} // namespace
