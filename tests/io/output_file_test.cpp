#include "io/output_file.h"

#include "support/files.h"
#include "support/seam.h"

#include <algorithm>

#include <gtest/gtest.h>

ZELSYS_SEAM(L"kernel32.dll", WriteFile)
ZELSYS_SEAM(L"kernel32.dll", SetFilePointer)

namespace {

TEST(OutputFile, AppendsAndReportsFailures) {
    const testing_support::TemporaryFolder folder;
    io::COStreamFile file;
    EXPECT_EQ(file.Write("x", 1), 0u);
    EXPECT_EQ(file.GetLastError(), 10u) << "not open";
    ASSERT_EQ(file.open(folder / L"f"), 0u);
    EXPECT_EQ(file.open(folder / L"f"), 183u);
    EXPECT_EQ(file.Write(nullptr, 5), 0u);
    EXPECT_EQ(file.Write("abc", 0), 0u);
    EXPECT_EQ(file.Put('a'), 1u);
    WriteFileSeam::fake = [](HANDLE handle, const void* bytes, DWORD count, auto... rest) {
        return WriteFileSeam::real(handle, bytes, std::min(count, 2ul), rest...);
    };
    EXPECT_EQ(file.Write("bcd", 3), 3u);
    EXPECT_EQ(file.GetLastError(), 0u);
    EXPECT_EQ(testing_support::readBytes(folder / L"f"), "abcb") << "the retry starts at the first byte";
    WriteFileSeam::failWith(ERROR_DISK_FULL);
    EXPECT_EQ(file.Write("x", 1), 0u);
    EXPECT_EQ(file.GetLastError(), 112u);
    EXPECT_EQ(file.Write(nullptr, 1), 0u);
    EXPECT_EQ(file.GetLastError(), 0u) << "the error is that of the last write";
    WriteFileSeam::calls = 0;
    WriteFileSeam::fake = [](HANDLE, const void*, DWORD, DWORD* written, OVERLAPPED*) {
        *written = 0;
        return WriteFileSeam::calls < 100;
    };
    EXPECT_EQ(file.Write("x", 1), 0u);
    EXPECT_EQ(file.GetLastError(), 29u) << "a success without a byte must not be repeated indefinitely";
    SetFilePointerSeam::fake = [](auto...) { return SetLastError(ERROR_SEEK), INVALID_SET_FILE_POINTER; };
    EXPECT_EQ(file.Write("x", 1), 0u);
    EXPECT_EQ(file.GetLastError(), 25u);
    WriteFileSeam::restore();
    SetFilePointerSeam::fake = [](auto...) { return INVALID_SET_FILE_POINTER; };
    EXPECT_EQ(file.Write("x", 1), 1u) << "a valid offset: 4 GiB - 1";
    testing_support::restoreSeams();
}

} // namespace
