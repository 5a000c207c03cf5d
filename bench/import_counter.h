#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <windows.h>

namespace bench {

/// \brief Counts the calls that a loaded DLL makes to other DLLs.
///
/// Each function in its import table, and each that it looks up by GetProcAddress from then on, is led over
/// some instructions that count. Stays in place until the process ends.
class ImportCounter {
public:
    struct Calls {
        std::string library, function;
        std::uint64_t count;
    };

    explicit ImportCounter(HMODULE module);

    void clear();
    std::vector<Calls> calls() const; ///< Those functions that were called, in the order of the import table.

private:
    struct Thunk;
    struct Entry {
        std::string library, function;
        Thunk* thunk;
    };

    void replace(const std::string& library, const std::string& function, void** slot);
    void* add(const std::string& library, const std::string& function, void* target);
    static FARPROC WINAPI lookUp(HMODULE module, const char* name);

    Thunk* thunks_;
    std::vector<Entry> entries_;
};

} // namespace bench
