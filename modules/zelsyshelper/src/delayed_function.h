#pragma once

#include "win32/function.h"
#include "win32/system_library.h"

#include <atomic>

#include <windows.h>

/// Imports whose DLL is loaded by their first call.
namespace delayed {

/// \brief A system DLL, loaded when one of its functions is first called. Never unloaded. Thread-safe.
///
/// Loads it from the system folder only: a DLL of that name in another folder is never loaded.
class Library {
public:
    explicit constexpr Library(const wchar_t* name) : name_(name) {}

    /// Returns the address of a function. Retries a failed load at each call: the system may only have been
    /// short of memory.
    /// \return Null if the DLL or the function is missing; GetLastError then returns ERROR_PROC_NOT_FOUND.
    void* find(const char* function) {
        // Load once for all functions. A second load could fail, and CloseServiceHandle, for example, would
        // then be missing for a handle that OpenServiceW has returned.
        if (module_ == nullptr)
            module_ = win32::loadSystemLibrary(name_);
        void* const found = win32::findFunction<void*>(module_, function);
        if (found == nullptr)
            SetLastError(ERROR_PROC_NOT_FOUND);
        return found;
    }

private:
    const wchar_t* name_;
    std::atomic<HMODULE> module_ = nullptr;
};

/// The slot of an imported function points to `call` until the function is found.
/// \tparam Import Describes the function: `find()`, `slot()`, and `failed()`, its result while it is missing.
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

// Callers of a function that is declared with dllimport read its address from the slot `__imp_NAME`. MinGW's
// <winhttp.h> does not use dllimport: callers call NAME, which therefore jumps to the address in the slot.
#if defined(__MINGW32__)
#define ZELSYS_JUMP_TO_SLOT(function)                                                                        \
    asm(".text\n.globl " #function "\n" #function ": jmp *__imp_" #function "(%rip)\n");
#else
#define ZELSYS_JUMP_TO_SLOT(function)
#endif

/// Defines the slot of a delayed import. The linker then ignores the import library for this function.
/// \param library A \ref delayed::Library.
/// \param failure Result of the function while it is missing. Callers must treat this result as a failure.
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
