#include "fs/config.h"

#include "fs/file_io.h"
#include "fs/fx_config.h"
#include "support/files.h"
#include "support/seam.h"
#include "win32/file_access.h"
#include "win32/file_lock.h"
#include "win32/owner.h"

#include <chrono>
#include <thread>

#include <process.h>

#include <gtest/gtest.h>

ZELSYS_SEAM(L"kernel32.dll", GetFileAttributesW)
ZELSYS_SEAM(L"kernel32.dll", GetTickCount64)
ZELSYS_SEAM(L"kernel32.dll", LockFileEx)
ZELSYS_SEAM(L"kernel32.dll", ReadFile)
ZELSYS_SEAM(L"kernel32.dll", SetFileInformationByHandle)
ZELSYS_SEAM(L"kernel32.dll", Sleep)
ZELSYS_SEAM(L"kernel32.dll", WriteFile)

namespace {

using testing_support::readBytes;
using testing_support::writeBytes;

class Config : public testing::Test {
protected:
    ~Config() override { testing_support::restoreSeams(); }

    testing_support::TemporaryFolder folder;
    const std::wstring path = folder / L"test.cfg";
};

TEST_F(Config, SaveAppliesOnlyItsOwnChanges) {
    writeBytes(path, "x=1\ny=1\na=1\n");
    fs::CConfig config(path);
    ASSERT_EQ(config.load(), 0);
    config.setValue("y", "mine");
    config.setValue("a", "");
    EXPECT_TRUE(config.isModified());
    const std::wstring host = testing_support::besideThisProgram(L"zelsyshelper-host.exe");
    for (const wchar_t* key : {L"z", L"x", L"y"}) // from a second process
        EXPECT_EQ(_wspawnl(_P_WAIT, host.c_str(), L"host", L"property", L"set", path.c_str(), key, L"theirs",
                           nullptr),
                  0);
    EXPECT_EQ(config.save(), 0);
    EXPECT_FALSE(config.isModified());
    EXPECT_EQ(readBytes(path), "x=theirs\ny=mine\nz=theirs\n");
    EXPECT_EQ(config.getValue("x", "-"), "theirs") << "a save leaves the merged state in memory";
    EXPECT_EQ(config.findValue("a"), "") << "removed from the file, but not from memory";
    EXPECT_EQ(config.findValue("none"), std::nullopt);

    writeBytes(path, "x=other\n");
    EXPECT_EQ(config.save(), 0);
    EXPECT_EQ(readBytes(path), "x=other\n") << "without pending changes, nothing is written";
}

TEST_F(Config, LoadKeepsValuesInMemoryAndReloadReplacesThem) {
    writeBytes(path, "a=file\nb=file\n");
    fs::CConfig config(path);
    config.setValue("a", "memory");
    config.setValue("m", "memory");
    EXPECT_EQ(config.load(), 0);
    EXPECT_FALSE(config.isModified());
    EXPECT_EQ(config.getValue("a", "-"), "memory");
    EXPECT_EQ(config.getValue("b", "-"), "file");
    EXPECT_EQ(config.save(), 0);
    EXPECT_EQ(readBytes(path), "a=file\nb=file\n");

    config.setValue("c", "memory");
    EXPECT_EQ(config.reload(), 0);
    EXPECT_EQ(config.getValue("a", "-"), "file");
    EXPECT_EQ(config.getValue("c", "-"), "-");
}

TEST_F(Config, MissingFilesAndFolders) {
    fs::CConfig config;
    EXPECT_EQ(config.load(), 100002);
    EXPECT_EQ(config.reload(), 100002);
    config.setValue("a", "1");
    EXPECT_EQ(config.save(), 100002);
    config.setFilePath(path);
    EXPECT_EQ(config.getValue("a", "-"), "-") << "values and changes are discarded";
    EXPECT_TRUE(config.isModified()) << "the flag is unchanged";
    EXPECT_EQ(config.save(), 0);
    EXPECT_FALSE(config.isModified());
    EXPECT_EQ(config.load(), 100002) << "nothing was written";

    const std::wstring directory = folder / L"dir";
    CreateDirectoryW(directory.c_str(), nullptr);
    config.setFilePath(directory);
    EXPECT_EQ(config.load(), 100002);
    config.setValue("a", "1");
    EXPECT_EQ(config.save(), 100004);
    SetFileAttributesW(directory.c_str(), FILE_ATTRIBUTE_HIDDEN);
    EXPECT_EQ(config.load(), 100004) << "a directory with further attributes counts as an unreadable file";
}

TEST_F(Config, RetriesWhileAnotherProcessHoldsTheFile) {
    writeBytes(path, "a=1\n");
    fs::CConfig config(path);
    config.setValue("b", "2");
    win32::KernelHandle holder(testing_support::openToRead(path, 0));
    EXPECT_EQ(config.load(), 100004);
    EXPECT_EQ(config.save(), 100004);
    SleepSeam::fake = [&](DWORD) { holder.reset(); }; // the first retry succeeds
    EXPECT_EQ(config.save(), 0);
    EXPECT_EQ(readBytes(path), "a=1\nb=2\n");

    // ERROR_FILE_NOT_FOUND shows that the file is absent. After ERROR_NETWORK_BUSY, CreateFileW decides.
    for (const long error : {ERROR_NETWORK_BUSY, ERROR_FILE_NOT_FOUND}) {
        GetFileAttributesWSeam::restore();
        GetFileAttributesWSeam::fake = [=](LPCWSTR) {
            SetLastError(static_cast<DWORD>(error));
            return INVALID_FILE_ATTRIBUTES;
        };
        EXPECT_EQ(config.reload(), error == ERROR_NETWORK_BUSY ? 0 : 100002);
        EXPECT_EQ(GetFileAttributesWSeam::calls > 1, error == ERROR_NETWORK_BUSY);
    }
    testing_support::restoreSeams();

    // A file that can be read, but not written.
    const win32::KernelHandle reader(testing_support::openToRead(path, FILE_SHARE_READ));
    config.setValue("c", "3");
    bool wasRead = false;
    EXPECT_EQ(config.save(wasRead), 100004);
    EXPECT_TRUE(wasRead);
    EXPECT_EQ(config.getValue("a", "-"), "1");
}

TEST_F(Config, ReadersSeeTheOldOrTheNewContents) {
    const auto expectWhole = [&] {
        fs::ConfigValues seen;
        fs::parseConfig(readBytes(path), seen);
        EXPECT_EQ(seen["z"], "1");
        EXPECT_TRUE(seen["a"].empty() || seen["a"] == "old" || seen["a"] == "longer") << seen["a"];
        EXPECT_LE(seen.size(), 2u);
    };
    WriteFileSeam::fake = [&](HANDLE file, LPCVOID bytes, DWORD size, LPDWORD written, LPOVERLAPPED place) {
        expectWhole();
        const BOOL result = WriteFileSeam::real(file, bytes, size, written, place);
        expectWhole();
        return result;
    };
    writeBytes(path, "a=old\nz=1\n");
    fs::CConfig config(path);
    for (const std::string value : {"longer", ""}) {
        config.setValue("a", value);
        EXPECT_EQ(config.save(), 0);
        EXPECT_EQ(readBytes(path), (value.empty() ? "" : "a=longer\n") + std::string("z=1\n"));
    }
    EXPECT_EQ(WriteFileSeam::calls, 3) << "one per save, and one to reserve space for the longer text";
}

TEST_F(Config, FullDiskLeavesTheOldContents) {
    fs::CConfig plain(path);
    plain.setValue("a", "longer");
    fs::FxConfig enciphered(path);
    enciphered.setSwitch("new", true);
    for (fs::CConfig* config : {&plain, static_cast<fs::CConfig*>(&enciphered)})
        for (const std::string old : {"a=1\n", "a=123456\n", "a=1\nb=123456\n"}) {
            writeBytes(path, old);
            // The first write stores one byte, the second fails; later writes restore the old contents.
            WriteFileSeam::fake = [](HANDLE file, LPCVOID bytes, DWORD size, LPDWORD written,
                                     LPOVERLAPPED place) {
                SetLastError(ERROR_DISK_FULL);
                return WriteFileSeam::calls != 2 &&
                       WriteFileSeam::real(file, bytes, WriteFileSeam::calls == 1 ? 1 : size, written, place);
            };
            EXPECT_EQ(config->save(), 100004);
            WriteFileSeam::restore();
            EXPECT_EQ(readBytes(path), old);
            EXPECT_TRUE(config->isModified());
        }
    // A write that succeeds without writing a byte must not be repeated indefinitely.
    WriteFileSeam::fake = [](HANDLE, LPCVOID, DWORD, LPDWORD written, LPOVERLAPPED) {
        *written = 0;
        return WriteFileSeam::calls < 100;
    };
    EXPECT_EQ(plain.save(), 100004);
    EXPECT_LT(WriteFileSeam::calls, 10);
    WriteFileSeam::restore();
    // A file that cannot be truncated: zeros at the end are harmless in a plain file only. A file above
    // 16 MiB is not padded.
    SetFileInformationByHandleSeam::fake = [&](auto...) {
        EXPECT_EQ(readBytes(path).ends_with('\0'), readBytes(path).starts_with("a=")) << "a plain file";
        return FALSE;
    };
    EXPECT_EQ(enciphered.save(), 100004);
    EXPECT_EQ(readBytes(path), "a=1\nb=123456\n");
    writeBytes(path, "a=longest of all\nb=123456\n");
    EXPECT_EQ(plain.save(), 0) << "the failed save kept the change";
    EXPECT_EQ(readBytes(path), "a=longer\nb=123456\n" + std::string(8, '\0'));
    const std::string huge = "b=" + std::string(17 << 20, 'v') + "\n";
    writeBytes(path, huge);
    plain.setValue("b", "1");
    EXPECT_EQ(plain.save(), 100004);
    EXPECT_TRUE(readBytes(path) == huge) << "too long to print";
}

TEST_F(Config, SaversUseABestEffortLock) {
    fs::CConfig config(path);
    config.setValue("a", "1");
    // Another process writes the file between CreateFileW and LockFileEx.
    LockFileExSeam::fake = [&](HANDLE file, DWORD flags, DWORD, DWORD size, DWORD, LPOVERLAPPED place) {
        writeBytes(path, "z=1\n");
        EXPECT_GT(place->OffsetHigh, 1u << 24) << "far beyond the end: no other handle can read locked bytes";
        LockFileExSeam::fake = nullptr;
        return LockFileExSeam::real(file, flags, 0, size, 0, place);
    };
    EXPECT_EQ(config.save(), 0);
    EXPECT_EQ(readBytes(path), "a=1\nz=1\n");

    const win32::KernelHandle file(testing_support::openToRead(path, FILE_SHARE_READ | FILE_SHARE_WRITE));
    ASSERT_EQ(win32::lockFile(file.get(), win32::LockKind::shared, 0), win32::LockState::held);
    const auto locks = [&](const std::string& contents, auto&& access) {
        writeBytes(path, contents);
        LockFileExSeam::calls = 0;
        EXPECT_EQ(access(), 0);
        return LockFileExSeam::calls.load();
    };
    const std::string longFile = "a=" + std::string(5000, 'v') + "\n";
    EXPECT_EQ(locks("a=1\n", [&] { return config.load(); }), 1) << "a write may be in progress";
    const auto loadLater = [&] {
        std::filesystem::last_write_time(path, std::filesystem::file_time_type::clock::now() -
                                                   std::chrono::hours(1));
        return config.load();
    };
    EXPECT_EQ(locks("a=1\n", loadLater), 0);
    EXPECT_EQ(locks(longFile, loadLater), 1);
    EXPECT_EQ(locks("", [&] { return fs::FxConfig(path).load(); }), 1);
    ULONGLONG ticks = 0;
    GetTickCount64Seam::fake = [&] { return ticks; };
    SleepSeam::fake = [&](DWORD time) { ticks += 100 * time; };
    config.setValue("a", "2");
    EXPECT_EQ(locks("a=1\n", [&] { return config.save(); }), 1 + 20) << "for two seconds";
    win32::unlockFile(file.get());

    // Without locks, a save does not truncate what another saver has written meanwhile.
    LockFileExSeam::failWith(ERROR_NOT_SUPPORTED);
    WriteFileSeam::fake = [&](HANDLE handle, LPCVOID bytes, DWORD size, LPDWORD written, LPOVERLAPPED place) {
        const BOOL result = WriteFileSeam::real(handle, bytes, size, written, place);
        writeBytes(path, longFile);
        return result;
    };
    config.setValue("a", "3");
    EXPECT_EQ(locks("a=longer\n", [&] { return config.save(); }), 1);
    EXPECT_EQ(readBytes(path), longFile);
    WriteFileSeam::fake = [](auto... arguments) {
        ReadFileSeam::failWith(ERROR_CRC);
        return WriteFileSeam::real(arguments...);
    };
    fs::FxConfig enciphered(path);
    enciphered.setSwitch("a", true);
    EXPECT_EQ(enciphered.save(), 100004) << "the save cannot tell whether it may truncate the file";
    EXPECT_TRUE(readBytes(path) == longFile) << "too long to print";
}

TEST_F(Config, FileThatGrowsDuringTheReadIsReadAgain) {
    writeBytes(path, std::string(5000, 'x'));
    ReadFileSeam::fake = [&](auto... arguments) {
        if (ReadFileSeam::calls == 3) // the size of the file has been queried
            writeBytes(path, std::string(9000, 'x'));
        return ReadFileSeam::real(arguments...);
    };
    std::string contents;
    EXPECT_EQ(fs::readFile(path, fs::FileForm::plain, contents), 0);
    EXPECT_EQ(contents.size(), 9000u);

    ReadFileSeam::fake = [](HANDLE, LPVOID, DWORD size, LPDWORD count, LPOVERLAPPED) {
        return *count = size, TRUE;
    };
    ReadFileSeam::calls = 0;
    EXPECT_EQ(fs::readFile(path, fs::FileForm::plain, contents), 0);
    EXPECT_EQ(ReadFileSeam::calls, 2 + 10) << "two attempts for a page, then ten for the whole file";
    ReadFileSeam::calls = 0;
    char begin = 0;
    std::size_t got = 0;
    const win32::KernelHandle file(testing_support::openToRead(path, 0));
    EXPECT_TRUE(win32::readAt(file.get(), 0, &begin, 3ull << 30, got));
    EXPECT_EQ(got, 3ull << 30);
    EXPECT_EQ(ReadFileSeam::calls, 3);
}

/// Checks that each method waits for a save, which holds the store's lock while its WriteFile blocks.
template <class Store>
void expectOneAtATime(const std::wstring& path, std::initializer_list<std::function<void(Store&)>> methods) {
    for (const auto& method : methods) {
        Store store(path);
        store.setValue("a", "1");
        std::atomic<bool> isSaving = false, mayEnd = false, hasReturned = false;
        WriteFileSeam::fake = [&](auto... arguments) {
            isSaving = true;
            while (!mayEnd)
                Sleep(1);
            return WriteFileSeam::real(arguments...);
        };
        std::jthread saver([&] { store.save(); });
        while (!isSaving)
            SwitchToThread();
        GetFileAttributesWSeam::calls = 0;
        LockFileExSeam::calls = 0;
        std::jthread other([&] {
            method(store);
            hasReturned = true;
        });
        SleepSeam::real(30);
        EXPECT_FALSE(hasReturned);
        EXPECT_EQ(GetFileAttributesWSeam::calls + LockFileExSeam::calls, 0) << "no access to the file";
        mayEnd = true;
        saver.join();
        other.join();
        WriteFileSeam::restore();
    }
}

TEST_F(Config, MethodsOfOneStoreRunOneAtATime) {
    expectOneAtATime<fs::CConfig>(
        path, {[](auto& store) { store.load(); }, [](auto& store) { store.save(); },
               [](auto& store) { store.setFilePath(L"x"); }, [](auto& store) { store.setValue("b", "2"); },
               [](auto& store) { store.findValue("a"); }, [](auto& store) { store.isModified(); }});
    expectOneAtATime<fs::FxConfig>(
        path, {[](auto& store) { store.load(); }, [](auto& store) { store.save(); },
               [](auto& store) { store.setFilePath(L"x"); }, [](auto& store) { store.setDefaults({}); }});
}

/// Checks that a load that has read the file waits for a save. A load locks the store twice: to copy the path
/// and, once it has read the file, to change the values.
template <class Store>
void expectLoadWaitsForSave(const std::wstring& path) {
    writeBytes(path, "a=1\n");
    Store store(path);
    store.setValue("b", "2");
    std::atomic<DWORD> loaderId = 0;
    std::atomic<bool> isReading = false, isSaving = false, mayEnd = false, hasLoaded = false;
    LockFileExSeam::failWith(ERROR_NOT_SUPPORTED); // otherwise the save waits for the lock on the file
    ReadFileSeam::fake = [&](auto... arguments) {
        while (GetCurrentThreadId() == loaderId && !isSaving) {
            isReading = true;
            SleepSeam::real(1);
        }
        return ReadFileSeam::real(arguments...);
    };
    WriteFileSeam::fake = [&](auto... arguments) {
        isSaving = true;
        while (!mayEnd)
            SleepSeam::real(1);
        return WriteFileSeam::real(arguments...);
    };
    const std::jthread loader([&] {
        loaderId = GetCurrentThreadId();
        store.load();
        hasLoaded = true;
    });
    while (!isReading)
        SwitchToThread();
    const std::jthread saver([&] { store.save(); });
    while (!isSaving)
        SwitchToThread();
    SleepSeam::real(30);
    EXPECT_FALSE(hasLoaded);
    mayEnd = true;
}

TEST_F(Config, LoadThatHasReadTheFileWaitsForASave) {
    expectLoadWaitsForSave<fs::CConfig>(path);
    testing_support::restoreSeams();
    expectLoadWaitsForSave<fs::FxConfig>(path);
}

TEST_F(Config, ReadFailure) {
    writeBytes(path, "a=1\n");
    fs::CConfig config(path);
    config.setValue("b", "2");
    ReadFileSeam::failWith(ERROR_CRC);
    EXPECT_EQ(config.load(), 100004);
    EXPECT_EQ(config.save(), 0) << "a save continues with its own keys";
    EXPECT_EQ(readBytes(path), "b=2\n");
}

} // namespace
