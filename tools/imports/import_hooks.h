#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <windows.h>

/// The calls of a loaded DLL to other DLLs. Benchmarks count them, tests let them fail.
namespace imports {

/// How a call fails.
struct Failure {
    std::uint64_t result = 0;
    std::uint32_t error = 0; ///< Set as the thread's last error.
};

/// \brief Counts the calls that a loaded DLL makes to other DLLs, and lets one of them fail on demand.
///
/// Puts a thunk in front of each function that the import table names, and in front of each function that
/// the DLL obtains by name from GetProcAddress afterwards. The DLL must be unloaded before this object is
/// destroyed. Only one object may exist at a time.
class Hooks {
public:
    /// Returns how a function fails; nullopt if it cannot fail.
    using Rule =
        std::function<std::optional<Failure>(const std::string& library, const std::string& function)>;

    /// Replaces an imported function. `calls` does not list it. The target calls `shouldFail` if its calls
    /// can fail.
    struct Substitute {
        std::string function;
        void* target;
    };

    struct Calls {
        std::string library, function;
        std::uint64_t count;
    };

    /// Replaces the imports of the module.
    /// \param rule Without a rule, calls are counted and never fail.
    explicit Hooks(HMODULE module, Rule rule = {}, std::vector<Substitute> substitutes = {});
    Hooks(const Hooks&) = delete;
    Hooks& operator=(const Hooks&) = delete;
    ~Hooks();

    void clear(); ///< Resets all counts to 0.
    /// Returns the functions that were called: first the imported ones, then those from GetProcAddress.
    std::vector<Calls> calls() const;

    /// \brief Lets a future call fail.
    /// \param number Index of that call among those that can fail, over all functions and threads. The next
    ///               such call has index 0.
    static void failAt(std::uint64_t number);
    static void failNone();

    /// \brief Counts a call of a substitute. Returns true if this call must fail.
    static bool shouldFail();

    /// \brief Returns the function whose call has failed since `failAt`: its name, or "an allocation" for a
    /// substitute; null for none. Takes no lock, so that a crash handler can call it.
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
    mutable std::mutex mutex_; ///< Guards the list: the DLL looks functions up on several threads.
    std::vector<Entry> entries_;
};

} // namespace imports
