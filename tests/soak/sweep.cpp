// Lets each call of an export to Windows and to the heap fail once. Each run loads the library afresh and
// lets the next call fail, until none is left. Hooks on the import table find the calls.

#include "ipc/channel.h"
#include "ipc/channel_names.h"
#include "ipc/window_request_handler.h"
#include "soak/calls.h"
#include "tools/imports/failures.h"

#include <cstdio>
#include <set>
#include <thread>

#include <objbase.h>

namespace {

using namespace soak;
using imports::Hooks;

constexpr ULONGLONG kLongestRun = 45'000; // milliseconds; stopDownloadFile() may block for 30 s

struct Run {
    const char* row = "";
    unsigned number = 0;
    const Hooks* hooks = nullptr;
    std::atomic<ULONGLONG> begin = 0;
} current;
unsigned problems = 0, failures = 0;
std::set<std::string> functions; // functions that were made to fail

void report(const char* what) {
    ++problems;
    const char* const failed = current.hooks != nullptr ? current.hooks->failed() : nullptr;
    std::printf("problem %s, call %u, %s: %s\n", current.row, current.number,
                failed != nullptr ? failed : "no failure", what);
    std::fflush(stdout);
}

void expect(bool holds, const char* what) {
    if (!holds)
        report(what);
}

void onAbort() {
    report("abort");
    TerminateProcess(GetCurrentProcess(), 5);
}

LONG WINAPI onCrash(EXCEPTION_POINTERS*) {
    report("crash");
    return EXCEPTION_EXECUTE_HANDLER;
}

void watch() {
    for (;; Sleep(500))
        if (GetTickCount64() - current.begin > kLongestRun) {
            report("the call does not return");
            TerminateProcess(GetCurrentProcess(), 3);
        }
}

DWORD nextThreadLocalStorage() {
    const DWORD index = TlsAlloc();
    TlsFree(index);
    return index;
}

/// Calls the export of the row, and waits for a download that it has started.
std::uint64_t call(Row& row, Worker& worker) {
    const std::uint64_t result = row.call(worker);
    std::uint8_t isStarted = 0, isOver = 0;
    library->isDownloadFileStarted(&isStarted);
    while (isStarted != 0 && isOver == 0) {
        Sleep(1);
        library->isDownloadFileCompleted(&isOver);
    }
    return result;
}

std::string line(unsigned number) {
    return "k=" + std::filesystem::path(valueOf(number)).string() + "\n";
}

/// Checks that a property file has its old or new contents, and that a download without an error is complete.
void expectTruth(const std::string& name, bool isRight, bool hasFailed, const Worker& worker) {
    if (name == "setValueInPropertyFile") {
        std::string file = testing_support::readBytes(worker.folder + L"\\own.cfg");
        file.resize(file.find_last_not_of('\0') + 1);
        expect(file == line(worker.last) || (hasFailed && file == line(worker.last - 1)), "the file is torn");
    }
    std::uint32_t error = 0, stage = 0, status = 0;
    if (name == "startDownloadFile" && isRight &&
        library->getDownloadFileErrors(&error, &stage, &status) == 0 && error == 0 && stage == 0 &&
        status == 200)
        expect(testing_support::readBytes(worker.folder + L"\\..\\downloads\\a.bin").size() == 50'000,
               "the downloaded file is incomplete");
}

/// Lets the call with the index `number` fail. Returns false if the export makes fewer calls.
bool failOnce(Row& row, unsigned number, Worker worker) {
    testing_support::writeBytes(worker.folder + L"\\own.cfg", line(worker.last = 1));
    std::error_code ignored;
    std::filesystem::remove_all(worker.folder + L"\\to", ignored);
    current.number = number;
    current.begin = GetTickCount64();

    if (!loadLibrary())
        return report("the library cannot be loaded"), false;
    const HMODULE module = library->module;
    auto substitutes = imports::countedHeap();
    substitutes.push_back({"abort", reinterpret_cast<void*>(&onAbort)});
    const Hooks hooks(module, imports::plausibleFailure, substitutes);
    current.hooks = &hooks;
    Hooks::failAt(number);
    const std::uint64_t result = call(row, worker);
    Hooks::failNone();
    const bool isRight = row.isRight(worker, result);
    const bool hasFailed = hooks.failed() != nullptr;
    if (hasFailed)
        functions.insert(hooks.failed());
    expect(isRight || hasFailed, "wrong result without a failure");
    if (!isRight && !row.isFailure(worker, result))
        report(
            ("undocumented result of a failure: " + std::to_string(result) + ", " + std::to_string(worker.n))
                .c_str());
    expectTruth(row.name, isRight, hasFailed, worker);
    expect(row.isRight(worker, call(row, worker)), "the next call fails");
    library->stopDownloadFile();
    library.reset();
    for (int i = 0; GetModuleHandleW(L"zelsyshelper.dll") != nullptr; ++i) {
        Sleep(1); // an ending worker still holds a reference to the module
        if (i == 1000) {
            report("the library cannot be unloaded");
            TerminateProcess(GetCurrentProcess(), 4);
        }
    }
    expect(imports::takeLeftBlocks() == 0 || row.leavesStore, "memory is leaked");
    current.hooks = nullptr;
    return hasFailed;
}

void sweep(Row& row, const Worker& worker) {
    current.row = row.name;
    failOnce(row, UINT32_MAX, worker); // warm-up: the first call leaves handles in Windows' DLLs
    const long before = openHandles();
    unsigned number = 0;
    while (problems < 50 && failOnce(row, number, worker))
        ++number;
    expect(openHandles() - before <= 3, "handles are leaked"); // up to 3 belong to Windows' own threads
    failures += number;
}

/// Sweeps `bringRuningAppToTop` with a running instance, which the table's row of that name lacks.
void sweepInstance(const Worker& worker) {
    ipc::CInterprocessCommunicationWin channel(ipc::instanceMutexName("sweep"), ipc::pipeBaseName("sweep"));
    ipc::CWindowRequestHandler handler([] { return GetDesktopWindow(); }, [] {});
    channel.setRequestHandler(&handler);
    expect(channel.startServer() == 0, "the instance does not serve");
    Row raise{"bringRuningAppToTop", 0, CALL(bringRuningAppToTop, "sweep"), EXPECTING(r == 1), kIsNothing};
    sweep(raise, worker);
}

} // namespace

/// Sweeps all exports. Arguments: a folder, the port for downloads, and 1 to also raise a running instance,
/// which takes minutes.
int wmain(int, wchar_t** arguments) {
    // Loaded for the whole run, so that their initialisation and clean-up do not count.
    for (const wchar_t* name : {L"winhttp.dll", L"shell32.dll", L"ole32.dll", L"shlwapi.dll", L"user32.dll"})
        LoadLibraryW(name);
    SetUnhandledExceptionFilter(onCrash);
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    current.begin = GetTickCount64();
    std::thread(watch).detach();
    const Worker worker =
        Worker::in(arguments[1], std::mt19937::default_seed, static_cast<unsigned>(_wtoi(arguments[2])));
    SetCurrentDirectoryW(arguments[1]); // the library writes here if it cannot find a folder
    const DWORD storage = nextThreadLocalStorage();
    for (Row& row : rows)
        sweep(row, worker);
    if (_wtoi(arguments[3]) != 0)
        sweepInstance(worker);
    expect(nextThreadLocalStorage() == storage, "indexes of thread local storage are leaked");
    std::printf("swept %zu %u %zu\n", std::size(rows), failures, functions.size());
    return problems != 0;
}
