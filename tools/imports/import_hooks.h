#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <windows.h>

/// What a loaded DLL asks of other DLLs: for benchmarks, which count it, and for tests, which let it fail.
namespace imports {

/// How a call fails.
struct Failure {
    std::uint64_t result = 0;
    std::uint32_t error = 0; ///< What GetLastError tells.
};

/// \brief Leads the calls that a loaded DLL makes to other DLLs over some instructions that count them, and that
/// let one of them fail on demand.
///
/// Each function in its import table, and each that it looks up by GetProcAddress from then on. Stays in place
/// until the DLL is unloaded, which must be before this object goes. One at a time.
class Hooks {
public:
    /// How a function fails; nothing when it cannot.
    using Rule =
        std::function<std::optional<Failure>(const std::string& library, const std::string& function)>;

    /// A function that takes the place of the imported one. Its calls neither count nor fail.
    struct Substitute {
        std::string function;
        void* target;
    };

    struct Calls {
        std::string library, function;
        std::uint64_t count;
    };

    explicit Hooks(HMODULE module, Rule rule = {}, std::vector<Substitute> substitutes = {});
    Hooks(const Hooks&) = delete;
    Hooks& operator=(const Hooks&) = delete;
    ~Hooks();

    void clear();                     ///< Counts from 0 again.
    std::vector<Calls> calls() const; ///< Those functions that were called, in the order of the import table.

    /// \brief Lets the call with this number fail, of those that can, counted over all functions and threads from 0
    /// and from now on.
    static void failAt(std::uint64_t number);
    static void failNone();

    /// \return Whether this call is the one that has to fail. For substitutes.
    static bool shouldFail();

    /// \return The function whose call has failed since `failAt`; null for none.
    const char* failed() const;

private:
    struct Thunk;
    struct Entry {
        std::string library, function;
        Thunk* thunk;
    };

    void replace(const std::string& library, const std::string& function, void** slot);
    void* add(const std::string& library, const std::string& function, void* target);
    static FARPROC WINAPI lookUp(HMODULE module, const char* name);

    Rule rule_;
    std::vector<Substitute> substitutes_;
    Thunk* thunks_;
    std::vector<Entry> entries_;
};

} // namespace imports
