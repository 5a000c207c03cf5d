#include "win32/os_version.h"

#include "win32/function.h"
#include "win32/registry_key.h"

namespace win32 {
namespace {

constexpr DWORD kFirstVersionWithRevision = 10;

DWORD updateRevision() {
    RegistryKey key;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", 0,
                      KEY_READ | KEY_WOW64_64KEY, key.receive()) != ERROR_SUCCESS)
        return 0;
    DWORD revision = 0, type = 0, size = sizeof revision;
    const LSTATUS status =
        RegQueryValueExW(key.get(), L"UBR", nullptr, &type, reinterpret_cast<BYTE*>(&revision), &size);
    return status == ERROR_SUCCESS && type == REG_DWORD ? revision : 0;
}

} // namespace

TOsVersion osVersion() {
    using GetVersion = LONG(WINAPI*)(RTL_OSVERSIONINFOW*);
    const auto getVersion = findFunction<GetVersion>(GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion");
    RTL_OSVERSIONINFOW info{};
    static_assert(sizeof info == 276);
    info.dwOSVersionInfoSize = sizeof info;
    if (getVersion == nullptr || getVersion(&info) != 0)
        return {};
    return {
        .major = info.dwMajorVersion,
        .minor = info.dwMinorVersion,
        .revision = info.dwMajorVersion >= kFirstVersionWithRevision ? updateRevision() : 0,
        .build = info.dwBuildNumber,
    };
}

} // namespace win32
