#include "win32/os_version.h"

#include "support/seam.h"
#include "win32/version_class.h"

#include <gtest/gtest.h>

ZELSYS_SEAM(L"kernel32.dll", GetModuleHandleW)
ZELSYS_SEAM(L"advapi32.dll", RegQueryValueExW)

static win32::TOsVersion reported;
static LONG versionResult;

/// The library finds this function: the fake GetModuleHandleW returns this program's handle as ntdll.dll.
extern "C" __declspec(dllexport) LONG WINAPI RtlGetVersion(RTL_OSVERSIONINFOW* info) {
    EXPECT_EQ(info->dwOSVersionInfoSize, 276u);
    info->dwMajorVersion = reported.major;
    info->dwMinorVersion = reported.minor;
    info->dwBuildNumber = reported.build;
    return versionResult;
}

namespace {

TEST(OsVersion, ComesFromRtlGetVersionAndTheRegistry) {
    DWORD type = REG_DWORD;
    LSTATUS status = ERROR_SUCCESS;
    RegQueryValueExWSeam::fake = [&](HKEY, LPCWSTR name, LPDWORD, LPDWORD typeOut, LPBYTE data, LPDWORD) {
        EXPECT_STREQ(name, L"UBR");
        *typeOut = type;
        *reinterpret_cast<DWORD*>(data) = 4321;
        return status;
    };
    HMODULE ntdll = GetModuleHandleW(nullptr);
    GetModuleHandleWSeam::fake = [&](LPCWSTR) { return ntdll; };
    const auto expectVersion = [&](win32::TOsVersion expected) {
        const win32::TOsVersion version = win32::osVersion();
        EXPECT_EQ(std::tie(version.major, version.minor, version.revision, version.build),
                  std::tie(expected.major, expected.minor, expected.revision, expected.build));
    };
    expectVersion(reported = {9, 3, 0, 9600});
    EXPECT_EQ(RegQueryValueExWSeam::calls, 0);
    reported = {10, 1, 0, 22621};
    expectVersion({10, 1, 4321, 22621});
    type = REG_SZ;
    expectVersion({10, 1, 0, 22621});
    status = ERROR_FILE_NOT_FOUND;
    expectVersion({10, 1, 0, 22621});
    versionResult = 1;
    expectVersion({});
    ntdll = LoadLibraryW(L"kernel32.dll"); // a DLL without RtlGetVersion
    expectVersion({});
    testing_support::restoreSeams();
}

TEST(VersionClass, Boundaries) {
    const struct {
        std::uint32_t major, minor, build, revision;
        std::int32_t versionClass;
    } cases[] = {
        {5, 0, 0, 0, 50},           {5, 1, 0, 0, 51},       {5, 2, 0, 0, 52},         {5, 2, 3789, 0, 52},
        {5, 2, 3790, 0, 60},        {5, 3, 9999, 0, 0},     {6, 0, 0, 0, 70},         {6, 0, 6001, 0, 70},
        {6, 0, 6002, 0, 80},        {6, 1, 0, 0, 90},       {6, 1, 7600, 0, 90},      {6, 1, 7601, 0, 81},
        {6, 2, 0, 0, 100},          {6, 3, 0, 0, 101},      {10, 0, 10240, 0, 120},   {10, 0, 0, 10000, 120},
        {10, 0, 21999, 10000, 120}, {10, 0, 0, 10001, 130}, {10, 0, 21999, ~0u, 130}, {10, 0, 22000, 0, 140},
        {10, 1, ~0u, ~0u, 140},     {11, 0, 30000, 0, 0},
    };
    for (const auto& [major, minor, build, revision, expected] : cases)
        EXPECT_EQ(win32::versionClass({major, minor, revision, build}), expected)
            << major << '.' << minor << '.' << build << '.' << revision;
}

} // namespace
