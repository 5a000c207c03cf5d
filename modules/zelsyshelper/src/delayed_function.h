#pragma once

#include <atomic>
#include <string>

#include <windows.h>

/// Functions of system DLLs that are loaded when one of them is first called.
namespace delayed {

/// \brief A DLL of the system, loaded from the system folder when its first function is called. A DLL of that
/// name in another folder is never loaded. It stays loaded. Any thread.
class Library {
public:
    explicit constexpr Library(const wchar_t* name) : name_(name) {}

    /// \return Null if the DLL or the function is missing; the last error is then ERROR_PROC_NOT_FOUND. A DLL
    /// that could not be loaded is tried again by the next call: the system may only have been short of
    /// memory.
    void* find(const char* function) {
        // Loaded once: if it could fail again for a later function, that could be the one that releases what
        // the earlier ones have acquired.
        if (module_ == nullptr)
            module_ = load();
        const HMODULE module = module_;
        const FARPROC found = module != nullptr ? GetProcAddress(module, function) : nullptr;
        if (found == nullptr)
            SetLastError(ERROR_PROC_NOT_FOUND);
        return reinterpret_cast<void*>(found);
    }

private:
    HMODULE load() const {
        // A full path instead of LOAD_LIBRARY_SEARCH_SYSTEM32, which Windows 7 without updates refuses.
        wchar_t folder[MAX_PATH];
        const UINT length = GetSystemDirectoryW(folder, MAX_PATH);
        if (length == 0 || length >= MAX_PATH)
            return nullptr;
        const std::wstring path = std::wstring(folder, length) + L'\\' + name_;
        return LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    }

    const wchar_t* name_;
    std::atomic<HMODULE> module_ = nullptr;
};

/// What the slot of one imported function holds until its first call.
/// \tparam Import Describes the function: `find()`, `slot()`, and `failed()`, the value that its callers test
/// for.
template <class Import, class Function>
class FirstCall;

template <class Import, class Result, class... Arguments>
class FirstCall<Import, Result(Arguments...)> {
public:
    /// Finds the function, stores it in the slot and calls it.
    static Result WINAPI call(Arguments... arguments) {
        const auto found = reinterpret_cast<Result(WINAPI*)(Arguments...)>(Import::find());
        if (found == nullptr)
            return static_cast<Result>(Import::failed());
        Import::slot().store(found, std::memory_order_release);
        return found(arguments...);
    }
};

} // namespace delayed

// A header that declares a function as imported makes its callers read the slot `__imp_NAME`. MinGW's
// <winhttp.h> does not: its callers call NAME, which therefore jumps to what the slot holds.
#if defined(__MINGW32__)
#define ZELSYS_JUMP_TO_SLOT(function)                                                                        \
    asm(".text\n.globl " #function "\n" #function ": jmp *__imp_" #function "(%rip)\n");
#else
#define ZELSYS_JUMP_TO_SLOT(function)
#endif

/// Defines the slot of a delayed import. The linker then takes nothing for this function from an import
/// library.
/// \param library A \ref delayed::Library.
/// \param failure What the function returns while it is missing. Its callers must recognise it as a failure.
#define ZELSYS_DELAYED(library, function, failure)                                                           \
    extern "C" std::atomic<decltype(&(function))> __imp_##function;                                          \
    namespace {                                                                                              \
    struct function##Import {                                                                                \
        static void* find() { return (library).find(#function); }                                            \
        static auto& slot() { return __imp_##function; }                                                     \
        static auto failed() { return (failure); }                                                           \
    };                                                                                                       \
    }                                                                                                        \
    constinit std::atomic<decltype(&(function))> __imp_##function =                                          \
        &delayed::FirstCall<function##Import, decltype(function)>::call;                                     \
    ZELSYS_JUMP_TO_SLOT(function)
