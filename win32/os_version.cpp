#include "win32/os_version.h"

#include "win32/owner.h"
#include "win32/registry_key.h"

#include <cwchar>

#include <tlhelp32.h>

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
    const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    if (ntdll == nullptr)
        return {};
    const auto getVersion =
        reinterpret_cast<GetVersion>(reinterpret_cast<void*>(GetProcAddress(ntdll, "RtlGetVersion")));
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

bool isModuleRunning(const std::wstring& name) {
    const KernelHandle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    // Skips the first entry: the idle process has no executable.
    if (!snapshot || !Process32FirstW(snapshot.get(), &entry))
        return false;
    bool isFound = false;
    while (Process32NextW(snapshot.get(), &entry)) {
        if (_wcsicmp(entry.szExeFile, name.c_str()) != 0)
            continue;
        isFound = true;
        // Opens and closes every match. OpenProcess may fail with ERROR_ACCESS_DENIED: the match still
        // counts.
        KernelHandle(OpenProcess(PROCESS_ALL_ACCESS, FALSE, entry.th32ProcessID));
    }
    return isFound;
}

} // namespace win32
