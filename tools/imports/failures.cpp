#include "tools/imports/failures.h"

#include <cerrno>
#include <cstdlib>
#include <map>
#include <mutex>
#include <numeric>
#include <set>

namespace imports {
namespace {

/// Functions that fail only for an invalid handle, pointer or name, and functions without a result.
const std::set<std::string> kCannotFail = {"AcquireSRWLockExclusive",
                                           "CloseHandle",
                                           "CloseServiceHandle",
                                           "CoTaskMemFree",
                                           "DeleteCriticalSection",
                                           "EnterCriticalSection",
                                           "FindClose",
                                           "FreeLibrary",
                                           "FreeLibraryAndExitThread",
                                           "GetCurrentProcess",
                                           "GetCurrentProcessId",
                                           "GetCurrentThread",
                                           "GetCurrentThreadId",
                                           "GetLastError",
                                           "GetProcAddress",
                                           "GetSystemTime",
                                           "GetSystemTimeAsFileTime",
                                           "GetTickCount",
                                           "GetTickCount64",
                                           "InitializeCriticalSection",
                                           "LeaveCriticalSection",
                                           "LocalFree",
                                           "QueryPerformanceCounter",
                                           "QueryPerformanceFrequency",
                                           "RaiseException",
                                           "RegCloseKey",
                                           "ReleaseMutex",
                                           "ReleaseSRWLockExclusive",
                                           "ResetEvent",
                                           "RtlCaptureContext",
                                           "RtlLookupFunctionEntry",
                                           "RtlUnwindEx",
                                           "RtlVirtualUnwind",
                                           "SetEvent",
                                           "SetLastError",
                                           "Sleep",
                                           "TlsGetValue",
                                           "UnlockFileEx",
                                           "WaitForMultipleObjects",
                                           "WaitForSingleObject",
                                           "WakeAllConditionVariable",
                                           "WakeConditionVariable",
                                           "WinHttpCloseHandle",
                                           "__C_specific_handler"};

/// Failure results of functions that do not report a failure by 0.
const std::map<std::string, std::uint64_t> kFailures = {{"CoCreateInstance", 0x8007000E},
                                                        {"CreateFileW", UINT64_MAX},
                                                        {"CreateNamedPipeW", UINT64_MAX},
                                                        {"CreateToolhelp32Snapshot", UINT64_MAX},
                                                        {"FindFirstFileW", UINT64_MAX},
                                                        {"FlsAlloc", UINT32_MAX},
                                                        {"GetFileAttributesW", UINT32_MAX},
                                                        {"RegOpenKeyExW", 8},
                                                        {"RegQueryValueExW", 8},
                                                        {"RtlGetVersion", 0xC0000001},
                                                        {"SHCreateDirectory", 8},
                                                        {"SHGetFolderPathW", 0x8007000E},
                                                        {"SHGetKnownFolderPath", 0x8007000E},
                                                        {"SHOpenFolderAndSelectItems", 0x8007000E},
                                                        {"SetFilePointer", UINT32_MAX},
                                                        {"TlsAlloc", UINT32_MAX},
                                                        {"UrlCombineW", 0x8007000E},
                                                        {"WinHttpSetStatusCallback", UINT64_MAX}};

/// Failure results of the C runtime.
const std::map<std::string, std::uint64_t> kRuntimeFailures = {
    {"_beginthreadex", 0}, {"_wfopen_s", EACCES}, {"ferror", 1}, {"fgetpos", 1}, {"fsetpos", 1}};

std::mutex heapMutex;
std::set<void*> blocks;

void* keep(void* block) {
    const std::lock_guard guard(heapMutex);
    if (block != nullptr)
        blocks.insert(block);
    return block;
}

void forget(void* block) {
    const std::lock_guard guard(heapMutex);
    blocks.erase(block);
}

void* allocate(std::size_t size) {
    return Hooks::shouldFail() ? nullptr : keep(std::malloc(size));
}
void* allocateZeros(std::size_t count, std::size_t size) {
    return Hooks::shouldFail() ? nullptr : keep(std::calloc(count, size));
}
void* allocateAnew(void* block, std::size_t size) {
    if (Hooks::shouldFail())
        return nullptr;
    forget(block);
    return keep(std::realloc(block, size));
}
void release(void* block) {
    forget(block);
    std::free(block);
}

} // namespace

std::optional<Failure> plausibleFailure(const std::string& library, const std::string& function) {
    if (library == "msvcrt.dll") {
        const auto found = kRuntimeFailures.find(function);
        return found != kRuntimeFailures.end() ? std::optional(Failure{found->second, 0}) : std::nullopt;
    }
    if (kCannotFail.contains(function))
        return std::nullopt;
    const auto found = kFailures.find(function);
    return Failure{found != kFailures.end() ? found->second : 0, ERROR_NOT_ENOUGH_MEMORY};
}

std::vector<Hooks::Substitute> countedHeap() {
    const auto address = [](auto function) { return reinterpret_cast<void*>(function); };
    return {{"malloc", address(&allocate)},
            {"calloc", address(&allocateZeros)},
            {"realloc", address(&allocateAnew)},
            {"free", address(&release)}};
}

std::size_t takeLeftBlocks() {
    const std::lock_guard guard(heapMutex);
    const std::size_t count = blocks.size();
    blocks.clear();
    return count;
}

std::size_t leftBytes() {
    const std::lock_guard guard(heapMutex);
    return std::accumulate(blocks.begin(), blocks.end(), std::size_t(0),
                           [](std::size_t sum, void* block) { return sum + _msize(block); });
}

} // namespace imports
