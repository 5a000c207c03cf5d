// Delayed imports: loading this library does not load these system DLLs. A function that is missing here
// becomes an ordinary import, whose DLL is loaded together with this library. A test checks the imports.

#include "modules/zelsyshelper/src/delayed_function.h"

#include <objbase.h>
#include <shlobj.h>
#include <shlwapi.h>
#include <winhttp.h>

namespace {

constinit delayed::Library advapi32(L"advapi32.dll");
constinit delayed::Library ole32(L"ole32.dll");
constinit delayed::Library shell32(L"shell32.dll");
constinit delayed::Library shlwapi(L"shlwapi.dll");
constinit delayed::Library user32(L"user32.dll");
constinit delayed::Library winhttp(L"winhttp.dll");

constexpr HRESULT kMissing = HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND);

} // namespace

ZELSYS_DELAYED(advapi32, ChangeServiceConfig2W, FALSE)
ZELSYS_DELAYED(advapi32, CloseServiceHandle, FALSE)
ZELSYS_DELAYED(advapi32, ControlService, FALSE)
ZELSYS_DELAYED(advapi32, CreateServiceW, nullptr)
ZELSYS_DELAYED(advapi32, DeleteService, FALSE)
ZELSYS_DELAYED(advapi32, InitializeSecurityDescriptor, FALSE)
ZELSYS_DELAYED(advapi32, OpenSCManagerW, nullptr)
ZELSYS_DELAYED(advapi32, OpenServiceW, nullptr)
ZELSYS_DELAYED(advapi32, QueryServiceStatus, FALSE)
ZELSYS_DELAYED(advapi32, QueryServiceStatusEx, FALSE)
ZELSYS_DELAYED(advapi32, RegCloseKey, ERROR_PROC_NOT_FOUND)
ZELSYS_DELAYED(advapi32, RegOpenKeyExW, ERROR_PROC_NOT_FOUND)
ZELSYS_DELAYED(advapi32, RegQueryValueExW, ERROR_PROC_NOT_FOUND)
ZELSYS_DELAYED(advapi32, SetSecurityDescriptorDacl, FALSE)
ZELSYS_DELAYED(advapi32, StartServiceW, FALSE)

ZELSYS_DELAYED(ole32, CoCreateInstance, kMissing)
ZELSYS_DELAYED(ole32, CoTaskMemFree, void())

ZELSYS_DELAYED(shell32, ILCreateFromPathW, nullptr)
ZELSYS_DELAYED(shell32, SHCreateDirectory, ERROR_PROC_NOT_FOUND)
ZELSYS_DELAYED(shell32, SHGetFolderPathW, kMissing)
ZELSYS_DELAYED(shell32, SHGetPathFromIDListW, FALSE)
ZELSYS_DELAYED(shell32, SHOpenFolderAndSelectItems, kMissing)

ZELSYS_DELAYED(shlwapi, PathAppendW, FALSE)
ZELSYS_DELAYED(shlwapi, UrlCombineW, kMissing)

ZELSYS_DELAYED(user32, SetForegroundWindow, FALSE)

ZELSYS_DELAYED(winhttp, WinHttpAddRequestHeaders, FALSE)
ZELSYS_DELAYED(winhttp, WinHttpCheckPlatform, FALSE)
ZELSYS_DELAYED(winhttp, WinHttpCloseHandle, FALSE)
ZELSYS_DELAYED(winhttp, WinHttpConnect, nullptr)
ZELSYS_DELAYED(winhttp, WinHttpCrackUrl, FALSE)
ZELSYS_DELAYED(winhttp, WinHttpOpen, nullptr)
ZELSYS_DELAYED(winhttp, WinHttpOpenRequest, nullptr)
ZELSYS_DELAYED(winhttp, WinHttpQueryAuthSchemes, FALSE)
ZELSYS_DELAYED(winhttp, WinHttpQueryDataAvailable, FALSE)
ZELSYS_DELAYED(winhttp, WinHttpQueryHeaders, FALSE)
ZELSYS_DELAYED(winhttp, WinHttpQueryOption, FALSE)
ZELSYS_DELAYED(winhttp, WinHttpReadData, FALSE)
ZELSYS_DELAYED(winhttp, WinHttpReceiveResponse, FALSE)
ZELSYS_DELAYED(winhttp, WinHttpSendRequest, FALSE)
ZELSYS_DELAYED(winhttp, WinHttpSetCredentials, FALSE)
ZELSYS_DELAYED(winhttp, WinHttpSetOption, FALSE)
ZELSYS_DELAYED(winhttp, WinHttpSetStatusCallback, WINHTTP_INVALID_STATUS_CALLBACK)
ZELSYS_DELAYED(winhttp, WinHttpSetTimeouts, FALSE)
ZELSYS_DELAYED(winhttp, WinHttpWriteData, FALSE)
