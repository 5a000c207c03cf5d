#include "fs/fx_config.h"

#include "fs/cipher.h"
#include "support/files.h"
#include "win32/owner.h"

#include <gtest/gtest.h>

namespace {

using testing_support::readBytes;

/// Returns the deciphered contents of a file.
std::string readSwitches(const std::wstring& path) {
    std::string bytes = readBytes(path);
    fs::decipher(reinterpret_cast<unsigned char*>(bytes.data()), bytes.size());
    return bytes;
}

TEST(FxConfig, SwitchesAreWrittenWholeAndEnciphered) {
    const testing_support::TemporaryFolder folder;
    const std::wstring path = folder / L"test.fx";
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

    win32::KernelHandle holder(testing_support::openToRead(path, 0));
    other.setFilePath(path);
    EXPECT_NE(other.load(), 0);
    holder.reset();
    other.setSwitch("d", true);
    EXPECT_EQ(other.save(), 0);
    EXPECT_EQ(readSwitches(path), "a=1\nb=1\nc=0\nd=1\n") << "keys that could not be read are not lost";
    testing_support::writeBytes(path, "from elsewhere");
    EXPECT_EQ(other.save(), 0);
    EXPECT_EQ(readSwitches(path), "a=1\nb=1\nc=0\nd=1\n") << "only the first save merges the file";
    other.setFilePath(path);
    EXPECT_EQ(other.save(), 0);
    EXPECT_EQ(readBytes(path), "") << "no switch of the file is left in memory";

    other.setSwitch("c", true);
    EXPECT_EQ(other.save(), 0);
    store.defaultsPending = true;
    store.loadWithDefaults();
    EXPECT_EQ(store.findValue("c"), std::nullopt) << "no load while the defaults are pending";
    store.setDefaults({});
    EXPECT_EQ(store.save(), 0);
    EXPECT_EQ(readBytes(path), "") << "truncated, not merged with the file";
    store.setFilePath({});
    EXPECT_EQ(store.save(), 100002);
    store.setFilePath(folder / L"");
    EXPECT_EQ(store.save(), 100004);
}

} // namespace
