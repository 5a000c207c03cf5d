// The program of soak.py. Mode "storm" calls every export at random on many threads. The other modes repeat
// calls or serve; soak.py runs several at once or kills them. Loads the library as an application does.

#include "ipc/channel.h"
#include "ipc/channel_names.h"
#include "ipc/window_request_handler.h"
#include "soak/calls.h"
#include "tools/imports/failures.h"

#include <algorithm>
#include <cstdio>
#include <thread>
#include <vector>

#include <objbase.h>
#include <psapi.h>

namespace {

using namespace soak;

/// Prints the number of handles, and in KiB the library's heap blocks and the working set.
void printUsage() {
    PROCESS_MEMORY_COUNTERS memory{};
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
    std::printf("usage %ld %zu %zu\n", openHandles(), imports::leftBytes() / 1024,
                memory.WorkingSetSize / 1024);
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
                row.wrong += !row.isRight(worker, row.call(worker));
            }
            CoUninitialize();
        });
    for (auto& thread : threads)
        thread.join();
    library->stopDownloadFile();
    Sleep(1000); // until Windows' own threads have ended
    printUsage();
}

int storm(const std::wstring& root, double seconds, unsigned threads, unsigned seed, unsigned port) {
    // Counts only the library's own blocks: Wine 10 leaks a block per connection with a service manager.
    const imports::Hooks hooks(library->module, {}, imports::countedHeap());
    std::vector<Worker> workers;
    for (unsigned i = 0; i < threads; ++i)
        workers.push_back(Worker::in(root + L"\\" + std::to_wstring(i), seed + i, port));
    runAll(workers, std::min(seconds / 3, 30.0)); // warm-up
    runAll(workers, seconds);
    for (const Row& row : rows)
        std::printf("call %s %u %u %d\n", row.name, row.calls.load(), row.wrong.load(), row.leavesStore);
    library.reset(); // before the hooks, which the library's calls use
    return 0;
}

/// Reports that the loop is about to start, and waits until soak.py closes standard input.
void ready() {
    std::puts("ready");
    std::fflush(stdout);
    static_cast<void>(std::getchar());
}

/// Repeatedly sets `key` and reads it and, in turn, k0 to k7. Never returns if `count` is 0.
int set(const std::wstring& file, const std::string& key, unsigned count) {
    unsigned lost = 0, absent = 0, half = 0;
    ready();
    for (unsigned i = 1; count == 0 || i <= count; ++i) {
        library->setValueInPropertyFile(file.c_str(), key.c_str(), valueOf(i).c_str());
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
        if (i == 0)
            ready();
        library->enableFx(name.c_str(), std::to_string(i % 50).c_str(), i % 2);
    }
}

/// Sends numbered events. Never returns if `count` is 0.
int events(unsigned count, unsigned threads, const std::string& padding) {
    std::atomic<unsigned> next = 0;
    ready();
    std::vector<std::thread> senders;
    for (unsigned i = 0; i < threads; ++i)
        senders.emplace_back([&] {
            for (unsigned n = ++next; count == 0 || n <= count; n = ++next)
                library->sendAppEvent("soak", "s", padding.c_str(), std::to_string(n).c_str(), "2", "1", "a",
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
    if (!loadLibrary())
        return 2;
    if (mode == L"storm")
        return storm(text(2), number(3), number(4), number(5), number(6));
    if (mode == L"set")
        return set(text(2), std::filesystem::path(text(3)).string(), number(4));
    if (mode == L"events")
        return events(number(2), number(3), std::string(number(4), 'p'));
    return mode == L"switches" ? switches(text(2)) : serve(std::filesystem::path(text(2)).string());
}
