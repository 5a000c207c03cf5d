#include "win32/process.h"

#include "support/seam.h"
#include "win32/path.h"
#include "win32/system_library.h"

#include <tlhelp32.h>

#include <gtest/gtest.h>

ZELSYS_SEAM(L"kernel32.dll", OpenProcess)
ZELSYS_SEAM(L"kernel32.dll", CreateToolhelp32Snapshot)
ZELSYS_SEAM(L"kernel32.dll", Process32NextW)

namespace {

TEST(Process, RunningModules) {
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring self = wcsrchr(path, L'\\') + 1;
    self[0] = static_cast<wchar_t>(towupper(self[0]));
    OpenProcessSeam::failWith(ERROR_ACCESS_DENIED);
    EXPECT_TRUE(win32::isModuleRunning(self));
    EXPECT_EQ(OpenProcessSeam::calls, 1);
    for (const std::wstring& name : {std::wstring(path), std::wstring(), self + L"x"})
        EXPECT_FALSE(win32::isModuleRunning(name)) << name;
    Process32NextWSeam::failWith(ERROR_NO_MORE_FILES);
    PROCESSENTRY32W first{};
    first.dwSize = sizeof first;
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    EXPECT_TRUE(Process32FirstW(snapshot, &first) && CloseHandle(snapshot));
    EXPECT_FALSE(win32::isModuleRunning(first.szExeFile)) << "the first entry of a snapshot is skipped";
    CreateToolhelp32SnapshotSeam::fake = [](DWORD, DWORD) { return INVALID_HANDLE_VALUE; };
    EXPECT_FALSE(win32::isModuleRunning(self));
    testing_support::restoreSeams();
}

TEST(Process, PathsAndLimits) {
    EXPECT_EQ(win32::joinPath(L"C:\\", L"x"), L"C:\\x");
    EXPECT_EQ(win32::joinPath(L"", L"y"), L"y");
    const std::size_t longest = MAX_PATH - 1 - GetSystemDirectoryW(nullptr, 0);
    EXPECT_EQ(win32::loadSystemLibrary(std::wstring(longest, L'x').c_str()), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
    EXPECT_EQ(win32::loadSystemLibrary(std::wstring(longest + 1, L'x').c_str()), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILENAME_EXCED_RANGE});
    for (const std::size_t length : {2047u, 2048u}) {
        SetEnvironmentVariableW(L"ZELSYS_TEST", std::wstring(length, L'v').c_str());
        EXPECT_EQ(win32::environmentVariable(L"ZELSYS_TEST").size(), length < 2048 ? length : 0);
    }
}

} // namespace
