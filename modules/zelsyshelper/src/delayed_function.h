#pragma once

#include <atomic>
#include <string>

#include <windows.h>

/// Functions of system DLLs that are loaded when one of them is first called.
namespace delayed {

/// Finds a function of a system DLL, and loads the DLL from the system folder if necessary. A DLL of that name in
/// another folder is never loaded. The DLL stays loaded. Any thread.
/// \return Null if the DLL or the function is missing; the last error is then ERROR_PROC_NOT_FOUND.
inline void* find(const wchar_t* library, const char* function) {
    // A full path instead of LOAD_LIBRARY_SEARCH_SYSTEM32, which Windows 7 without updates refuses.
    wchar_t folder[MAX_PATH];
    const UINT length = GetSystemDirectoryW(folder, MAX_PATH);
    if (length != 0 && length < MAX_PATH) {
        const std::wstring path = std::wstring(folder, length) + L'\\' + library;
        if (const HMODULE module = LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH))
            if (const FARPROC found = GetProcAddress(module, function))
                return reinterpret_cast<void*>(found);
    }
    SetLastError(ERROR_PROC_NOT_FOUND);
    return nullptr;
}

/// What the slot of one imported function holds until its first call.
/// \tparam Import Describes the function: `kLibrary`, `kName`, `slot()`, and `failed()`, the value that its callers
/// test for.
template <class Import, class Function>
class FirstCall;

template <class Import, class Result, class... Arguments>
class FirstCall<Import, Result(Arguments...)> {
public:
    /// Finds the function, stores it in the slot and calls it. A function that is missing is searched for again by
    /// the next call: the system may only have been short of memory.
    static Result WINAPI call(Arguments... arguments) {
        const auto found =
            reinterpret_cast<Result(WINAPI*)(Arguments...)>(find(Import::kLibrary, Import::kName));
        if (found == nullptr)
            return static_cast<Result>(Import::failed());
        Import::slot().store(found, std::memory_order_release);
        return found(arguments...);
    }
};

} // namespace delayed

// A header that declares a function as imported makes its callers read the slot `__imp_NAME`. MinGW's <winhttp.h> does
// not: its callers call NAME, which therefore jumps to what the slot holds.
#if defined(__MINGW32__)
#define ZELSYS_JUMP_TO_SLOT(function)                                                                        \
    asm(".text\n.globl " #function "\n" #function ": jmp *__imp_" #function "(%rip)\n");
#else
#define ZELSYS_JUMP_TO_SLOT(function)
#endif

/// Defines the slot of a delayed import. The linker then takes nothing for this function from an import library.
/// \param failure What the function returns while it is missing. Its callers must recognise it as a failure.
#define ZELSYS_DELAYED(library, function, failure)                                                           \
    extern "C" std::atomic<decltype(&function)> __imp_##function;                                            \
    namespace {                                                                                              \
    struct function##Import {                                                                                \
        static constexpr const wchar_t* kLibrary = library;                                                  \
        static constexpr const char* kName = #function;                                                      \
        static auto& slot() { return __imp_##function; }                                                     \
        static auto failed() { return failure; }                                                             \
    };                                                                                                       \
    }                                                                                                        \
    std::atomic<decltype(&function)> __imp_##function =                                                      \
        &delayed::FirstCall<function##Import, decltype(function)>::call;                                     \
    ZELSYS_JUMP_TO_SLOT(function)
