// The functions of system DLLs that this library delays, so that loading it loads nothing heavy. A function that is
// missing here is imported in the ordinary way, and its DLL is loaded with this one; a test checks the imports.

#include "modules/zelsyshelper/src/delayed_function.h"

#include <objbase.h>
#include <shlobj.h>
#include <shlwapi.h>
#include <winhttp.h>

namespace {

constexpr HRESULT kMissing = HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND);

} // namespace

ZELSYS_DELAYED(L"advapi32.dll", ChangeServiceConfig2W, FALSE)
ZELSYS_DELAYED(L"advapi32.dll", CloseServiceHandle, FALSE)
ZELSYS_DELAYED(L"advapi32.dll", ControlService, FALSE)
ZELSYS_DELAYED(L"advapi32.dll", CreateServiceW, nullptr)
ZELSYS_DELAYED(L"advapi32.dll", DeleteService, FALSE)
ZELSYS_DELAYED(L"advapi32.dll", InitializeSecurityDescriptor, FALSE)
ZELSYS_DELAYED(L"advapi32.dll", OpenSCManagerW, nullptr)
ZELSYS_DELAYED(L"advapi32.dll", OpenServiceW, nullptr)
ZELSYS_DELAYED(L"advapi32.dll", QueryServiceStatus, FALSE)
ZELSYS_DELAYED(L"advapi32.dll", QueryServiceStatusEx, FALSE)
ZELSYS_DELAYED(L"advapi32.dll", RegCloseKey, ERROR_PROC_NOT_FOUND)
ZELSYS_DELAYED(L"advapi32.dll", RegOpenKeyExW, ERROR_PROC_NOT_FOUND)
ZELSYS_DELAYED(L"advapi32.dll", RegQueryValueExW, ERROR_PROC_NOT_FOUND)
ZELSYS_DELAYED(L"advapi32.dll", SetSecurityDescriptorDacl, FALSE)
ZELSYS_DELAYED(L"advapi32.dll", StartServiceW, FALSE)

ZELSYS_DELAYED(L"ole32.dll", CoCreateInstance, kMissing)
ZELSYS_DELAYED(L"ole32.dll", CoTaskMemFree, )

ZELSYS_DELAYED(L"shell32.dll", ILCreateFromPathW, nullptr)
ZELSYS_DELAYED(L"shell32.dll", SHCreateDirectory, ERROR_PROC_NOT_FOUND)
ZELSYS_DELAYED(L"shell32.dll", SHGetFolderPathW, kMissing)
ZELSYS_DELAYED(L"shell32.dll", SHGetPathFromIDListW, FALSE)
ZELSYS_DELAYED(L"shell32.dll", SHOpenFolderAndSelectItems, kMissing)

ZELSYS_DELAYED(L"shlwapi.dll", PathAppendW, FALSE)
ZELSYS_DELAYED(L"shlwapi.dll", UrlCombineW, kMissing)

ZELSYS_DELAYED(L"user32.dll", SetForegroundWindow, FALSE)

ZELSYS_DELAYED(L"winhttp.dll", WinHttpAddRequestHeaders, FALSE)
ZELSYS_DELAYED(L"winhttp.dll", WinHttpCheckPlatform, FALSE)
ZELSYS_DELAYED(L"winhttp.dll", WinHttpCloseHandle, FALSE)
ZELSYS_DELAYED(L"winhttp.dll", WinHttpConnect, nullptr)
ZELSYS_DELAYED(L"winhttp.dll", WinHttpCrackUrl, FALSE)
ZELSYS_DELAYED(L"winhttp.dll", WinHttpOpen, nullptr)
ZELSYS_DELAYED(L"winhttp.dll", WinHttpOpenRequest, nullptr)
ZELSYS_DELAYED(L"winhttp.dll", WinHttpQueryAuthSchemes, FALSE)
ZELSYS_DELAYED(L"winhttp.dll", WinHttpQueryDataAvailable, FALSE)
ZELSYS_DELAYED(L"winhttp.dll", WinHttpQueryHeaders, FALSE)
ZELSYS_DELAYED(L"winhttp.dll", WinHttpReadData, FALSE)
ZELSYS_DELAYED(L"winhttp.dll", WinHttpReceiveResponse, FALSE)
ZELSYS_DELAYED(L"winhttp.dll", WinHttpSendRequest, FALSE)
ZELSYS_DELAYED(L"winhttp.dll", WinHttpSetCredentials, FALSE)
ZELSYS_DELAYED(L"winhttp.dll", WinHttpSetOption, FALSE)
ZELSYS_DELAYED(L"winhttp.dll", WinHttpSetStatusCallback, WINHTTP_INVALID_STATUS_CALLBACK)
ZELSYS_DELAYED(L"winhttp.dll", WinHttpSetTimeouts, FALSE)
ZELSYS_DELAYED(L"winhttp.dll", WinHttpWriteData, FALSE)
