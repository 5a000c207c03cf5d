// What soak.py runs beside its servers: every export from many threads at random, and single loops for programs
// that run at the same time or are ended from outside. Loads the library as an application does.

#include "zelsyshelper_load.hpp"

#include "ipc/channel.h"
#include "ipc/channel_names.h"
#include "ipc/window_request_handler.h"
#include "support/files.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <random>
#include <thread>
#include <vector>

#include <objbase.h>
#include <psapi.h>

namespace {

const zelsyshelper_load library(testing_support::besideThisProgram(L"zelsyshelper.dll").c_str());

/// A value that tells by itself whether all of it is there, of a length that changes from one to the next.
std::wstring valueOf(unsigned number) {
    return std::to_wstring(number) + L"." + std::wstring(number * 7 % 90, 'x') + L"." +
           std::to_wstring(number);
}

std::wstring property(const std::wstring& file, const std::string& key) {
    wchar_t buffer[256] = L"";
    library.getValueFromPropertyFile(file.c_str(), key.c_str(), buffer, 256);
    return buffer;
}

struct Worker {
    std::wstring folder; // this thread's
    std::mt19937 random;
    unsigned port = 0; // of the server for downloads
    unsigned last = 0; // the value that the thread's own file holds
    std::uint32_t n = 0, m = 0;
    std::uint8_t flag = 0;
    wchar_t text[256] = L"";

    std::wstring url() {
        const wchar_t* const paths[] = {L"file/50000/a.bin", L"status/404", L"short/s", L"close/c"};
        return std::wstring(L"http://files.example/") + paths[random() % 4];
    }
};

/// Whether a query of the download is answered, with a number that may be.
template <class Number>
bool isAnswer(std::uint64_t result, const Number& number, unsigned largest) {
    return result == ZELSYSHELPER_NO_DOWNLOAD || (result == 0 && number <= largest);
}

struct Row {
    const char* name;
    int weight;
    bool (*call)(Worker&); // whether the result is one that the function may have
    std::atomic<unsigned> calls = 0, wrong = 0;
};

// clang-format off
#define ROW(name, weight, ...) {#name, weight, []([[maybe_unused]] Worker& w) -> bool { return __VA_ARGS__; }}
#define OWN(name) (w.folder + L"\\" name).c_str()

Row rows[] = {
    ROW(sendAppEvent, 5, library.sendAppEvent("n", "s", "t", "i", "2", "1", "a", "c", "g", "b") == 0),
    ROW(sendAppEventFull, 5, library.sendAppEventFull("n", "", "", "", "", "", "", "", "", "", "", "", "") == 0),
    ROW(parseTestDefAndDecideAdvType, 20,
        (library.parseTestDefAndDecideAdvType("A70 B30", &w.flag), w.flag == 'A' || w.flag == 'B')),
    ROW(startDownloadFile, 5, library.startDownloadFile(L"127.0.0.1", w.port, nullptr, nullptr, w.url().c_str(),
                                                        OWN("..\\downloads")) == 0),
    ROW(stopDownloadFile, 5, (library.stopDownloadFile(), true)),
    ROW(getDownloadFileProgress, 10, isAnswer(library.getDownloadFileProgress(&w.n), w.n, 100)),
    ROW(getDownloadElapsedTimeInSeconds, 10, isAnswer(library.getDownloadElapsedTimeInSeconds(&w.n), w.n, 60)),
    ROW(getDownloadFileErrors, 10, isAnswer(library.getDownloadFileErrors(nullptr, &w.m, &w.n), w.n, 404) &&
                                   w.m <= ZELSYSHELPER_STAGE_EMPTY),
    ROW(isDownloadFileCompleted, 10, isAnswer(library.isDownloadFileCompleted(&w.flag), w.flag, 1)),
    ROW(isDownloadFileStarted, 10, isAnswer(library.isDownloadFileStarted(&w.flag), w.flag, 1)),
    ROW(getValueFromPropertyFile, 20, w.last == 0 || property(OWN("own.cfg"), "k") == valueOf(w.last)),
    ROW(setValueInPropertyFile, 20,
        (++w.last, library.setValueInPropertyFile(OWN("own.cfg"), "k", valueOf(w.last).c_str()) == (w.last > 1))),
    ROW(getIntFromPropertyFile, 20, w.last == 0 || library.getIntFromPropertyFile(OWN("own.cfg"), "k") == w.last),
    ROW(isValueFromPropertyFileNotEmpty, 20,
        library.isValueFromPropertyFileNotEmpty(OWN("own.cfg"), "k") == (w.last != 0)),
    ROW(readProperty, 4, library.readProperty(OWN("own.cfg"), "k", w.text, 256, 0) ==
                         (w.last != 0 ? valueOf(w.last).size() : 0)),
    ROW(writeProperty, 4, library.writeProperty(OWN("own.fx"), "k", L"v", 1) == 0),
    ROW(checkProperty, 4, library.checkProperty(OWN("own.cfg"), "k", 0) == (w.last != 0)),
    ROW(enableFx, 10, (library.enableFx(L"soak", std::to_string(w.random() % 20).c_str(), 1), true)),
    ROW(clearFx, 5, (library.clearFx(L"soak"), true)),
    ROW(getOsVersion, 20, library.getOsVersion(w.text) <= 1),
    ROW(isModuleLoaded, 5, library.isModuleLoaded("soak_storm.exe") == 1),
    ROW(installService, 20, library.installService(L"") == ZELSYSHELPER_SERVICE_NOT_OPENED),
    ROW(isServiceInstalled, 5, library.isServiceInstalled(&w.flag) == 0 && w.flag == 0),
    ROW(isServicePresent, 5, library.isServicePresent(L"no such service") == 0),
    ROW(startService, 5, library.startService() == ZELSYSHELPER_SERVICE_NOT_OPENED),
    ROW(stopService, 5, library.stopService() == 0),
    ROW(stopSystemService, 5, library.stopSystemService(L"no such service") == 0),
    ROW(uninstallService, 5, library.uninstallService() == ZELSYSHELPER_SERVICE_NOT_OPENED),
    ROW(updateService, 5, library.updateService() == ZELSYSHELPER_SERVICE_NOT_OPENED),
    ROW(assignShellFolderViewOptions, 5, (library.assignShellFolderViewOptions(
        L"C:\\no such folder", nullptr, nullptr, nullptr, &w.n, &w.m), w.n == 87 && w.m == 0)),
    ROW(retrieveShellFolderViewOptions, 5, (library.retrieveShellFolderViewOptions(
        L"C:\\no such folder", nullptr, nullptr, nullptr, &w.n, &w.m), w.n == 87 && w.m == 0)),
    ROW(createShellLink, 5, (library.createShellLink(L"C:\\x.exe", OWN("x.lnk"), L"d", &w.n, &w.m), w.n + w.m == 0)),
    ROW(copyDirEx, 3, (library.copyDirEx(OWN("from"), OWN("to")),
                       testing_support::readBytes(OWN("to\\a\\file")) == "content")),
    ROW(zelChromeExtWasDeleted, 10, library.zelChromeExtWasDeleted() == ZELSYSHELPER_EXTENSION_ABSENT),
    ROW(bringRuningAppToTop, 10, library.bringRuningAppToTop("nobody runs this") == 0),
};
// clang-format on

/// Prints the number of handles, the allocated blocks of all heaps and the memory in use, both in KiB.
void printUsage() {
    long handles = 0;
    for (std::uintptr_t handle = 4; handle < 0x10000; handle += 4) {
        DWORD flags = 0;
        handles += GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags) != FALSE;
    }
    HANDLE heaps[64];
    unsigned long long bytes = 0;
    for (DWORD i = 0, count = GetProcessHeaps(64, heaps); i < std::min(count, 64ul); ++i)
        for (PROCESS_HEAP_ENTRY entry{}; HeapWalk(heaps[i], &entry);)
            bytes += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? entry.cbData : 0;
    PROCESS_MEMORY_COUNTERS memory{};
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
    std::printf("usage %ld %llu %llu\n", handles, bytes / 1024, memory.WorkingSetSize / 1024);
}

void runAll(std::vector<Worker>& workers, double seconds) {
    std::vector<double> weights;
    for (Row& row : rows)
        weights.push_back(row.weight), row.calls = 0;
    const ULONGLONG end = GetTickCount64() + static_cast<ULONGLONG>(seconds * 1000);
    std::vector<std::thread> threads;
    for (Worker& worker : workers)
        threads.emplace_back([&worker, &weights, end] {
            CoInitializeEx(nullptr,
                           worker.random() % 2 != 0 ? COINIT_APARTMENTTHREADED : COINIT_MULTITHREADED);
            std::discrete_distribution<std::size_t> choice(weights.begin(), weights.end());
            while (GetTickCount64() < end) {
                Row& row = rows[choice(worker.random)];
                ++row.calls;
                row.wrong += !row.call(worker);
            }
            CoUninitialize();
        });
    for (auto& thread : threads)
        thread.join();
    library.stopDownloadFile();
    Sleep(1000); // the system's own threads end a little later
    printUsage();
}

int storm(const std::wstring& root, double seconds, unsigned threads, unsigned seed, unsigned port) {
    std::vector<Worker> workers;
    for (unsigned i = 0; i < threads; ++i) {
        const std::wstring folder = root + L"\\" + std::to_wstring(i);
        std::filesystem::create_directories(folder + L"\\from\\a");
        testing_support::writeBytes(folder + L"\\from\\a\\file", "content");
        workers.push_back({.folder = folder, .random = std::mt19937(seed + i), .port = port});
    }
    runAll(workers, std::min(seconds / 3, 30.0)); // the warm-up
    runAll(workers, seconds);
    for (const Row& row : rows)
        std::printf("call %s %u %u\n", row.name, row.calls.load(), row.wrong.load());
    return 0;
}

/// Tells that the loop is about to begin, and waits for the word where the caller has one to give.
void ready() {
    std::puts("ready");
    std::fflush(stdout);
    static_cast<void>(std::getchar());
}

/// Sets one key again and again, for ever when the count is 0, and reads it and another process's meanwhile.
int set(const std::wstring& file, const std::string& key, unsigned count) {
    unsigned lost = 0, absent = 0, half = 0;
    ready();
    for (unsigned i = 1; count == 0 || i <= count; ++i) {
        library.setValueInPropertyFile(file.c_str(), key.c_str(), valueOf(i).c_str());
        const std::wstring other = property(file, "k" + std::to_string(i % 8));
        absent += other.empty();
        half += !other.empty() && other != valueOf(static_cast<unsigned>(_wtoi(other.c_str())));
        lost += i != count && property(file, key) != valueOf(i);
    }
    std::printf("set %u %u %u\n", lost, absent, half);
    return 0;
}

int switches(const std::wstring& name) {
    for (unsigned i = 0;; ++i) {
        if (i == 50)
            ready();
        library.enableFx(name.c_str(), std::to_string(i % 50).c_str(), i % 2);
    }
}

/// Sends numbered events, for ever when the count is 0.
int events(unsigned count, unsigned threads, const std::string& padding) {
    std::atomic<unsigned> next = 0;
    ready();
    std::vector<std::thread> senders;
    for (unsigned i = 0; i < threads; ++i)
        senders.emplace_back([&] {
            for (unsigned n = ++next; count == 0 || n <= count; n = ++next)
                library.sendAppEvent("soak", "s", padding.c_str(), std::to_string(n).c_str(), "2", "1", "a",
                                     "c", "", "");
        });
    for (auto& sender : senders)
        sender.join();
    return 0;
}

int serve(const std::string& name) {
    ipc::CInterprocessCommunicationWin channel(ipc::instanceMutexName(name), ipc::pipeBaseName(name));
    const auto window = [] { return Sleep(30), GetDesktopWindow(); };
    ipc::CWindowRequestHandler handler(window, [] { Sleep(30); });
    channel.setRequestHandler(&handler);
    if (!channel.isFirstInstance() || channel.startServer() != 0)
        return 4;
    ready();
    Sleep(INFINITE);
    return 0;
}

} // namespace

int wmain(int count, wchar_t** arguments) {
    const auto text = [&](int i) { return i < count ? std::wstring(arguments[i]) : std::wstring(); };
    const auto number = [&](int i) { return static_cast<unsigned>(_wtoi(text(i).c_str())); };
    const std::wstring mode = text(1);
    if (!library)
        return 2;
    if (mode == L"storm")
        return storm(text(2), number(3), number(4), number(5), number(6));
    if (mode == L"set")
        return set(text(2), std::filesystem::path(text(3)).string(), number(4));
    if (mode == L"events")
        return events(number(2), number(3), std::string(number(4), 'p'));
    return mode == L"switches" ? switches(text(2)) : serve(std::filesystem::path(text(2)).string());
}
