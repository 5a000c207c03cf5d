#include "fs/config.h"

#include "fs/cipher.h"
#include "fs/fx_config.h"
#include "support/files.h"
#include "support/seam.h"

#include <process.h>

#include <gtest/gtest.h>

ZELSYS_SEAM(L"kernel32.dll", WriteFile)
ZELSYS_SEAM(L"msvcrt.dll", fread)

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
    EXPECT_EQ(config.findValue("a"), "") << "gone from the file, not from memory";
    EXPECT_EQ(config.findValue("none"), std::nullopt);

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
}

TEST_F(Config, PathsWithoutAFile) {
    fs::CConfig config;
    EXPECT_EQ(config.load(), 100002);
    EXPECT_EQ(config.reload(), 100002);
    config.setValue("a", "1");
    EXPECT_EQ(config.save(), 100002);
    config.setFilePath(path);
    EXPECT_EQ(config.getValue("a", "-"), "-") << "values and changes are forgotten";
    EXPECT_TRUE(config.isModified()) << "the mark is left as it was";
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
    EXPECT_EQ(config.load(), 100004) << "with one more attribute it counts as a file that cannot be read";
}

TEST_F(Config, FailuresKeepTheChanges) {
    writeBytes(path, "a=1\n");
    fs::CConfig config(path);
    config.setValue("b", "2");
    const HANDLE holder = CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_EQ(config.load(), 100004);
    EXPECT_EQ(config.save(), 100004);
    CloseHandle(holder);
    EXPECT_EQ(readBytes(path), "a=1\n");

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
    store.setFilePath(folder / L"");
    EXPECT_EQ(store.save(), 100004);
}

} // namespace
