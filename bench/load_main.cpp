// Loading and freeing the library. A separate program: the benchmarks in bench.exe load DLLs that the library
// loads on demand.

#include "bench/harness.h"

#include <windows.h>

namespace {

bool loadAndFree(const wchar_t* name) {
    const HMODULE module = LoadLibraryW(name);
    return module != nullptr && FreeLibrary(module);
}

void listHeavy() {
    constexpr const char* kHeavy[] = {"winhttp.dll", "shell32.dll", "ole32.dll",
                                      "shlwapi.dll", "user32.dll",  "advapi32.dll"};
    std::vector<std::string> before, loaded;
    const auto isThere = [](const char* name) { return GetModuleHandleA(name) != nullptr; };
    for (const char* const name : kHeavy)
        if (isThere(name))
            before.push_back(name);
    bench::require(before.empty(), "this program has loaded DLLs that the library needs");
    const HMODULE module = LoadLibraryW(L"zelsyshelper.dll");
    for (const char* const name : kHeavy)
        if (isThere(name))
            loaded.push_back(name);
    FreeLibrary(module);
    std::string names;
    for (const std::string& name : loaded)
        names += (names.empty() ? "" : ", ") + name;
    bench::print({.path = "heavy DLLs loaded with the library",
                  .ours = names.empty() ? "none" : names,
                  .limit = "none",
                  .goal = "none",
                  .isMet = loaded.empty()});
}

} // namespace

int main() {
    listHeavy();
    bench::measure({.name = "load and free the DLL",
                    .ours = {"zelsyshelper.dll", [] { return loadAndFree(L"zelsyshelper.dll"); }},
                    .limit = bench::Contender{"a DLL that does nothing",
                                              [] { return loadAndFree(L"bench_nothing.dll"); }},
                    .goal = {.mostToLimit = 1.5},
                    .seconds = 4});
    return 0;
}
