#pragma once

#include <atomic>
#include <functional>
#include <vector>

#include <windows.h>

namespace testing_support {

/// Replaces one function that the product imports, for the whole test program. Calls reach the real function
/// until a test sets `fake`. `restore` resets `fake` and the number of calls.
template <class Name, class Function>
class Seam;

template <class Name, class Result, class... Arguments>
class Seam<Name, Result(Arguments...)> {
public:
    static inline std::function<Result(Arguments...)> fake;
    static inline std::atomic<int> calls = 0;

    static Result real(Arguments... arguments) {
        static const auto function = reinterpret_cast<Result (*)(Arguments...)>(
            reinterpret_cast<void*>(GetProcAddress(LoadLibraryW(Name::kDll), Name::kName)));
        return function(arguments...);
    }

    static Result call(Arguments... arguments) {
        ++calls;
        return fake ? fake(arguments...) : real(arguments...);
    }

    /// Lets every call return 0 and set the last error. Resets the number of calls.
    static void failWith(DWORD error) {
        calls = 0;
        fake = [error](Arguments...) {
            SetLastError(error);
            return Result();
        };
    }

    static void restore() {
        fake = nullptr;
        calls = 0;
    }
};

inline std::vector<void (*)()> seamRestorers;

/// \brief Restores all seams of the program. Call it at the end of a test.
inline void restoreSeams() {
    for (const auto restore : seamRestorers)
        restore();
}

} // namespace testing_support

/// Names a function that another source of the program replaces.
#define ZELSYS_SEAM_NAME(dll, function)                                                                      \
    struct function##Name {                                                                                  \
        static constexpr const wchar_t* kDll = dll;                                                          \
        static constexpr const char* kName = #function;                                                      \
    };                                                                                                       \
    using function##Seam = testing_support::Seam<function##Name, decltype(function)>;

/// Replaces a function of a DLL. Callers refer to its slot `__imp_NAME` if its header declares it dllimport,
/// otherwise to NAME. Both are defined here, because an import library defines them in one object.
#define ZELSYS_SEAM(dll, function)                                                                           \
    ZELSYS_SEAM_NAME(dll, function)                                                                          \
    [[maybe_unused]] const auto& function##Registered =                                                      \
        testing_support::seamRestorers.emplace_back(&function##Seam::restore);                               \
    extern "C" {                                                                                             \
    decltype(&function) __imp_##function = &function##Seam::call;                                            \
    }                                                                                                        \
    asm(".text\n.globl " #function "\n" #function ": jmp *__imp_" #function "(%rip)\n");
