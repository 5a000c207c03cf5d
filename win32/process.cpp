#include "win32/process.h"

#include "win32/function.h"
#include "win32/owner.h"

#include <cwchar>
#include <memory>

#include <tlhelp32.h>

namespace win32 {
namespace {

constexpr DWORD kVariableCapacity = 2048;

struct DetachedWork {
    std::function<void()> run;
    Library keepLoaded;
};

DWORD WINAPI detachedThread(void* parameter) {
    HMODULE module = nullptr;
    {
        const std::unique_ptr<DetachedWork> work(static_cast<DetachedWork*>(parameter));
        try {
            work->run();
        } catch (...) {
            // No caller receives the exception, and letting it escape would terminate the host process.
        }
        module = work->keepLoaded.detach();
    }
    // FreeLibrary would return into unmapped code if it released the last reference.
    FreeLibraryAndExitThread(module, 0);
}

} // namespace

std::wstring environmentVariable(const wchar_t* name) {
    wchar_t value[kVariableCapacity];
    const DWORD length = GetEnvironmentVariableW(name, value, kVariableCapacity);
    return length < kVariableCapacity ? std::wstring(value, length) : std::wstring();
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

bool isProcessEnding() {
    using Query = BOOLEAN(WINAPI*)();
    const auto query = findFunction<Query>(GetModuleHandleW(L"ntdll.dll"), "RtlDllShutdownInProgress");
    return query != nullptr && query() != FALSE;
}

void pinModule() {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       reinterpret_cast<const wchar_t*>(&pinModule), &module);
}

void runDetached(std::function<void()> work) {
    auto parameter = std::make_unique<DetachedWork>();
    parameter->run = std::move(work);
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                            reinterpret_cast<const wchar_t*>(&detachedThread),
                            parameter->keepLoaded.receive()))
        return;
    const KernelHandle thread(CreateThread(nullptr, 0, detachedThread, parameter.get(), 0, nullptr));
    if (thread)
        static_cast<void>(parameter.release()); // the thread owns it now
}

} // namespace win32
