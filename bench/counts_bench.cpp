// Memory allocations and Windows calls in one call of each export.

#include "bench/benchmarks.h"
#include "bench/harness.h"
#include "bench/windows_file.h"
#include "tools/imports/import_hooks.h"
#include "zelsyshelper.h"

#include <algorithm>
#include <cstdio>

namespace {

struct Call {
    const char* name;
    std::function<void()> run;
};

/// Returns true for a function that makes no system call and costs almost nothing.
bool isLight(const std::string& function) {
    constexpr const char* kLight[] = {"EnterCriticalSection",
                                      "LeaveCriticalSection",
                                      "TryEnterCriticalSection",
                                      "GetLastError",
                                      "SetLastError",
                                      "TlsGetValue",
                                      "TlsSetValue",
                                      "GetCurrentThreadId",
                                      "GetCurrentProcessId",
                                      "GetCurrentProcess",
                                      "GetCurrentThread",
                                      "GetProcAddress",
                                      "GetTickCount",
                                      "GetTickCount64",
                                      "QueryPerformanceCounter",
                                      "WakeConditionVariable",
                                      "QueryPerformanceFrequency"};
    return function.find("SRWLock") != function.npos ||
           std::ranges::find(kLight, function) != std::end(kLight);
}

void report(const char* name, const std::vector<imports::Hooks::Calls>& calls) {
    std::uint64_t allocations = 0, total = 0;
    std::string names;
    for (const auto& call : calls) {
        const std::string& function = call.function;
        const bool isRuntime = call.library == "msvcrt.dll" || call.library == "ucrtbase.dll";
        if (isRuntime && (function == "malloc" || function == "calloc" || function == "realloc"))
            allocations += call.count;
        // Of the C runtime, only the file functions count: they call Windows.
        const bool isFile = function.starts_with("_wfopen") || function == "fclose" || function == "fread";
        if (isRuntime ? !isFile : isLight(function))
            continue;
        total += call.count;
        names += (names.empty() ? "" : ", ") + function;
        if (call.count > 1)
            names += " x " + std::to_string(call.count);
    }
    std::printf("count\t%s\t%llu\t%llu\t%s\n", name, static_cast<unsigned long long>(allocations),
                static_cast<unsigned long long>(total), names.c_str());
}

std::vector<Call> callsToCount(const std::wstring& folder) {
    static std::wstring plain, fx, from, to;
    plain = folder + L"\\counted.cfg";
    fx = folder + L"\\counted.fx";
    from = folder + L"\\counted";
    to = folder + L"\\counted-copy";
    std::string contents;
    for (int i = 0; i < 40; ++i)
        contents += "Setting" + std::to_string(i) + "=value " + std::to_string(i) + "\n";
    bench::writeWhole(plain, contents);
    for (const std::wstring& path : {from, from + L"\\inner", to})
        CreateDirectoryW(path.c_str(), nullptr);
    bench::writeWhole(from + L"\\inner\\file", "x");

    static wchar_t text[256];
    static std::uint8_t flag;
    static std::uint32_t number, other;
    return {
        {"getValueFromPropertyFile", [] { getValueFromPropertyFile(plain.c_str(), "Setting20", text, 256); }},
        {"getIntFromPropertyFile", [] { getIntFromPropertyFile(plain.c_str(), "Setting20"); }},
        {"isValueFromPropertyFileNotEmpty",
         [] { isValueFromPropertyFileNotEmpty(plain.c_str(), "Setting20"); }},
        {"setValueInPropertyFile", [] { setValueInPropertyFile(plain.c_str(), "Setting20", L"new"); }},
        {"readProperty", [] { readProperty(plain.c_str(), "Setting20", text, 256, 0); }},
        {"checkProperty", [] { checkProperty(plain.c_str(), "Setting20", 0); }},
        {"writeProperty", [] { writeProperty(plain.c_str(), "Setting20", L"new", 0); }},
        {"writeProperty, enciphered", [] { writeProperty(fx.c_str(), "switch", L"1", 1); }},
        {"readProperty, enciphered", [] { readProperty(fx.c_str(), "switch", text, 256, 1); }},
        {"enableFx", [] { enableFx(L"bench.fx", "switch", 1); }},
        {"clearFx", [] { clearFx(L"bench.fx"); }},
        {"parseTestDefAndDecideAdvType", [] { parseTestDefAndDecideAdvType("A70 B30", &flag); }},
        {"startDownloadFile with an invalid URL, stopDownloadFile",
         [] { startDownloadFile(L"", 0, L"", L"", L"none", L"C:\\"), stopDownloadFile(); }},
        {"getDownloadFileProgress", [] { getDownloadFileProgress(&number); }},
        {"getDownloadElapsedTimeInSeconds", [] { getDownloadElapsedTimeInSeconds(&number); }},
        {"getDownloadFileErrors", [] { getDownloadFileErrors(&number, &other, &other); }},
        {"isDownloadFileCompleted", [] { isDownloadFileCompleted(&flag); }},
        {"isDownloadFileStarted", [] { isDownloadFileStarted(&flag); }},
        {"getOsVersion", [] { getOsVersion(text); }},
        {"isModuleLoaded", [] { isModuleLoaded("absent.exe"); }},
        {"installService, empty path", [] { installService(L""); }},
        {"isServiceInstalled, no service", [] { isServiceInstalled(&flag); }},
        {"startService, no service", [] { startService(); }},
        {"stopService, no service", [] { stopService(); }},
        {"stopSystemService, no service", [] { stopSystemService(L"AbsentService"); }},
        {"uninstallService, no service", [] { uninstallService(); }},
        {"updateService, no service", [] { updateService(); }},
        {"isServicePresent, no service", [] { isServicePresent(L"AbsentService"); }},
        {"assignShellFolderViewOptions, no window",
         [] { assignShellFolderViewOptions(L"C:\\", &number, nullptr, nullptr, &other, &other); }},
        {"retrieveShellFolderViewOptions, no window",
         [] { retrieveShellFolderViewOptions(L"C:\\", &number, nullptr, nullptr, &other, &other); }},
        {"createShellLink",
         [] { createShellLink(L"C:\\x.exe", (plain + L".lnk").c_str(), L"x", &number, &other); }},
        {"copyDirEx, one file in a folder", [] { copyDirEx(from.c_str(), to.c_str()); }},
        {"zelChromeExtWasDeleted", [] { zelChromeExtWasDeleted(); }},
        {"bringRuningAppToTop, no instance", [] { bringRuningAppToTop("absent"); }},
        {"sendAppEvent",
         [] { sendAppEvent("n", "s", "t", "i", "2", "4.1", "A", "c", "7b0c2f1e-5a1d-4f6f-9a34", "2210"); }},
        {"sendAppEventFull",
         [] {
             sendAppEventFull("n", "s", "t", "i", "2", "4.1", "A", "c", "it", "ir", "ic",
                              "7b0c2f1e-5a1d-4f6f-9a34", "2210");
         }},
    };
}

} // namespace

void benchCounts() {
    // Never destroyed: the DLL stays loaded, and its imports point to the thunks.
    imports::Hooks& counter = *new imports::Hooks(GetModuleHandleW(L"zelsyshelper.dll"));
    for (const Call& call : callsToCount(bench::setting(L"BENCH_FOLDER"))) {
        call.run(); // warm-up: one-time initialisation does not count
        counter.clear();
        call.run();
        report(call.name, counter.calls());
    }
}
