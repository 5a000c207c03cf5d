#include "support/seam.h"

#include <gtest/gtest.h>

#include <objbase.h>
#include <shlobj.h>
#include <shlwapi.h>
#include <winhttp.h>

ZELSYS_SEAM(L"kernel32.dll", LoadLibraryExW)
ZELSYS_SEAM(L"kernel32.dll", LoadLibraryExA)
ZELSYS_SEAM(L"kernel32.dll", LoadLibraryA)

namespace {

// This program links the delayed imports: its calls take the same path as those of the library.
void expectFailures() {
    wchar_t text[MAX_PATH] = L"unset";
    DWORD length = MAX_PATH;
    void* object = nullptr;
    HKEY key = nullptr;
    EXPECT_NE(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, &key), ERROR_SUCCESS);
    EXPECT_EQ(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT), nullptr);
    EXPECT_TRUE(FAILED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_ALL, IID_IUnknown, &object)));
    EXPECT_NE(SHCreateDirectory(nullptr, L"C:\\"), ERROR_SUCCESS);
    EXPECT_TRUE(FAILED(SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, 0, text)));
    EXPECT_TRUE(FAILED(UrlCombineW(L"http://a/", L"b", text, &length, 0)));
    EXPECT_FALSE(SetForegroundWindow(nullptr));
    EXPECT_EQ(WinHttpSetStatusCallback(nullptr, nullptr, 0, 0), WINHTTP_INVALID_STATUS_CALLBACK);
    EXPECT_EQ(WinHttpOpen(L"", 0, nullptr, nullptr, 0), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PROC_NOT_FOUND});
    CoTaskMemFree(nullptr);
}

TEST(DelayedImports, FailIfMissingAndLoadFromTheSystemFolderOnly) {
    std::vector<std::wstring> paths;
    LoadLibraryExWSeam::fake = [&](LPCWSTR path, HANDLE, DWORD) {
        paths.emplace_back(path);
        return nullptr;
    };
    expectFailures();
    wchar_t system[MAX_PATH];
    GetSystemDirectoryW(system, MAX_PATH);
    EXPECT_FALSE(paths.empty());
    for (const std::wstring& path : paths)
        EXPECT_TRUE(path.starts_with(std::wstring(system) + L'\\')) << std::string(path.begin(), path.end());
    EXPECT_EQ(LoadLibraryExASeam::calls + LoadLibraryASeam::calls, 0);

    // The next call retries a DLL that was missing. It is loaded once for all of its functions.
    LoadLibraryExWSeam::restore();
    HKEY key = nullptr;
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, &key), ERROR_SUCCESS);
        EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
    }
    EXPECT_EQ(LoadLibraryExWSeam::calls, 1);
    testing_support::restoreSeams();
}

} // namespace
