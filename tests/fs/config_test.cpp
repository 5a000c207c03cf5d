#include "fs/config.h"

#include "fs/cipher.h"
#include "fs/file_io.h"
#include "fs/fx_config.h"
#include "support/files.h"
#include "support/seam.h"

#include <process.h>

#include <gtest/gtest.h>

ZELSYS_SEAM(L"kernel32.dll", WriteFile)
ZELSYS_SEAM(L"msvcrt.dll", _wfopen_s)
ZELSYS_SEAM_PLAIN(L"msvcrt.dll", fread)

namespace {

using testing_support::readBytes;
using testing_support::writeBytes;

class Config : public testing::Test {
protected:
    ~Config() override { testing_support::restoreSeams(); }

    testing_support::TemporaryFolder folder;
    const std::wstring path = folder / L"test.cfg";
};

TEST_F(Config, SaveKeepsOtherKeysAndWritesSorted) {
    writeBytes(path, "b=2\r\na=1\r\na=3\r\nnoequals\r\n\r\nc=x=y");
    fs::CConfig config(path);
    ASSERT_EQ(config.load(), 0);
    EXPECT_EQ(config.getValue("a", "-"), "1");
    config.setValue("d", "4");
    EXPECT_TRUE(config.isModified());
    EXPECT_EQ(config.save(), 0);
    EXPECT_FALSE(config.isModified());
    EXPECT_EQ(readBytes(path), "a=1\nb=2\nc=x=y\nd=4\n");

    config.setValue("a", "");
    EXPECT_EQ(config.save(), 0);
    EXPECT_EQ(readBytes(path), "b=2\nc=x=y\nd=4\n");
    EXPECT_EQ(config.findValue("a"), "") << "gone from the file, not from memory";
    EXPECT_EQ(config.findValue("none"), std::nullopt);
}

/// Sets a value from a second process, the console host.
void setElsewhere(const std::wstring& path, const wchar_t* key, const wchar_t* value) {
    wchar_t host[MAX_PATH];
    GetModuleFileNameW(nullptr, host, MAX_PATH);
    wcscpy(wcsrchr(host, L'\\'), L"\\zelsyshelper-host.exe");
    EXPECT_EQ(_wspawnl(_P_WAIT, host, host, L"property", L"set", path.c_str(), key, value, nullptr), 0);
}

TEST_F(Config, SaveAppliesOnlyItsOwnChanges) {
    writeBytes(path, "x=1\ny=1\n");
    fs::CConfig config(path);
    EXPECT_EQ(config.load(), 0);
    config.setValue("y", "mine");
    setElsewhere(path, L"x", L"theirs");
    setElsewhere(path, L"y", L"theirs");
    setElsewhere(path, L"z", L"theirs");
    EXPECT_EQ(config.save(), 0);
    EXPECT_EQ(readBytes(path), "x=theirs\ny=mine\nz=theirs\n");
    EXPECT_EQ(config.getValue("x", "-"), "theirs") << "a save leaves the merged state in memory";

    writeBytes(path, "x=other\n");
    EXPECT_EQ(config.save(), 0);
    EXPECT_EQ(readBytes(path), "x=other\n") << "nothing is pending, so nothing is written";
}

TEST_F(Config, LoadKeepsMemoryAndForgetsChangesReloadEmpties) {
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
    EXPECT_EQ(config.save(), 0);
    EXPECT_EQ(readBytes(path), "a=file\nb=file\n");
}

TEST_F(Config, SetFilePathForgetsValuesAndChanges) {
    fs::CConfig config(path);
    config.setValue("a", "1");
    config.setFilePath(folder / L"other.cfg");
    EXPECT_TRUE(config.isModified()) << "the mark is left as it was";
    EXPECT_EQ(config.getValue("a", "-"), "-");
    EXPECT_EQ(config.save(), 0);
    EXPECT_FALSE(config.isModified());
    EXPECT_FALSE(fs::fileExists(folder / L"other.cfg"));
}

TEST_F(Config, StatusNumbers) {
    fs::CConfig nowhere;
    EXPECT_EQ(nowhere.load(), 100002);
    EXPECT_EQ(nowhere.reload(), 100002);
    nowhere.setValue("a", "1");
    EXPECT_EQ(nowhere.save(), 100002);

    fs::CConfig missing(path);
    EXPECT_EQ(missing.load(), 100002);

    const std::wstring directory = folder / L"dir";
    CreateDirectoryW(directory.c_str(), nullptr);
    fs::CConfig plainDirectory(directory);
    EXPECT_EQ(plainDirectory.load(), 100002);
    plainDirectory.setValue("a", "1");
    EXPECT_EQ(plainDirectory.save(), 100004);
    SetFileAttributesW(directory.c_str(), FILE_ATTRIBUTE_HIDDEN);
    EXPECT_EQ(plainDirectory.load(), 100004)
        << "with one more attribute it counts as a file that cannot be read";
}

TEST_F(Config, FileThatAnotherHasToItself) {
    writeBytes(path, "a=1\n");
    fs::CConfig config(path);
    config.setValue("b", "2");
    const HANDLE holder = CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_EQ(config.load(), 100004);
    EXPECT_EQ(config.getValue("b", "-"), "2") << "a failed load changes nothing";
    EXPECT_EQ(config.save(), 100004);
    CloseHandle(holder);
    EXPECT_EQ(config.save(), 0);
    EXPECT_EQ(readBytes(path), "a=1\nb=2\n");
}

TEST_F(Config, WriteThatFailsKeepsTheChanges) {
    writeBytes(path, "a=1\n");
    fs::CConfig config(path);
    config.setValue("b", "2");
    WriteFileSeam::fake = [](HANDLE file, LPCVOID bytes, DWORD, LPDWORD written, LPOVERLAPPED place) {
        if (WriteFileSeam::calls == 1)
            return WriteFileSeam::real(file, bytes, 1, written, place); // short, then the disk is full
        SetLastError(ERROR_DISK_FULL);
        return FALSE;
    };
    EXPECT_EQ(config.save(), 100004);
    EXPECT_EQ(WriteFileSeam::calls, 2);
    EXPECT_TRUE(config.isModified());
    WriteFileSeam::restore();
    writeBytes(path, "c=3\n");
    EXPECT_EQ(config.save(), 0);
    EXPECT_EQ(readBytes(path), "b=2\nc=3\n");
}

TEST_F(Config, ReadThatFailsHalfWay) {
    writeBytes(path, "a=1\n");
    fs::CConfig config(path);
    config.setValue("b", "2");
    freadSeam::fake = [](void* out, size_t size, size_t, FILE* stream) {
        const size_t got = freadSeam::real(out, size, 2, stream);
        stream->_flag |= _IOERR;
        return got;
    };
    EXPECT_EQ(config.load(), 100004);
    EXPECT_EQ(config.save(), 0) << "a save goes on with its own keys";
    EXPECT_EQ(freadSeam::calls, 2);
    EXPECT_EQ(readBytes(path), "b=2\n");

    _wfopen_sSeam::fake = [](FILE** stream, const wchar_t*, const wchar_t*) {
        *stream = nullptr;
        return 0;
    };
    std::string contents;
    EXPECT_EQ(fs::readFile(path, contents), 100007);
    EXPECT_EQ(config.reload(), 100004);
}

TEST_F(Config, LongPath) {
    const std::wstring deep = L"\\\\?\\" + (folder / std::wstring(200, L'd'));
    const std::wstring file = deep + L"\\" + std::wstring(200, L'f');
    ASSERT_TRUE(CreateDirectoryW(deep.c_str(), nullptr));
    fs::CConfig config(file);
    config.setValue("a", "1");
    EXPECT_EQ(config.save(), 0);
    EXPECT_EQ(config.reload(), 0);
    EXPECT_EQ(config.getValue("a", "-"), "1");
    EXPECT_TRUE(DeleteFileW(file.c_str()));
    EXPECT_TRUE(RemoveDirectoryW(deep.c_str()));
}

/// The contents of an enciphered file.
std::string readSwitches(const std::wstring& path) {
    std::string bytes = readBytes(path);
    fs::decipher(reinterpret_cast<unsigned char*>(bytes.data()), bytes.size());
    return bytes;
}

TEST_F(Config, SwitchesAreWrittenWholeAndEnciphered) {
    fs::FxConfig store(path);
    EXPECT_EQ(store.load(), 100002);
    EXPECT_EQ(store.save(), 0) << "also without changes";
    EXPECT_EQ(readBytes(path), "");
    store.setDefaults({{"a", false}, {"b", true}});
    store.loadWithDefaults();
    store.setSwitch("a", true);
    store.setValue("empty", "");
    EXPECT_EQ(store.save(), 0);
    EXPECT_FALSE(store.isModified());
    EXPECT_EQ(readSwitches(path), "a=1\nb=1\n");

    fs::FxConfig other(path);
    other.setDefaults({{"a", false}, {"c", false}});
    other.loadWithDefaults();
    EXPECT_TRUE(other.isModified()) << "the missing default";
    EXPECT_EQ(other.save(), 0);
    EXPECT_EQ(readSwitches(path), "a=1\nb=1\nc=0\n");

    store.defaultsPending = true;
    store.loadWithDefaults();
    EXPECT_EQ(store.findValue("c"), std::nullopt) << "no load while the defaults are pending";
    store.setDefaults({});
    EXPECT_EQ(store.save(), 0);
    EXPECT_EQ(readBytes(path), "") << "emptied, and not merged with the file";
    store.setFilePath({});
    EXPECT_EQ(store.save(), 100002);
    CreateDirectoryW((folder / L"dir").c_str(), nullptr);
    store.setFilePath(folder / L"dir");
    EXPECT_EQ(store.save(), 100004);
}

} // namespace
