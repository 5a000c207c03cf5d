// A large download from a server on loopback.

#include "bench/benchmarks.h"
#include "bench/harness.h"
#include "win32/owner.h"
#include "win32/winhttp_handle.h"
#include "zelsyshelper.h"

#include <algorithm>
#include <cstdint>

#include <windows.h>

#include <psapi.h>
#include <winhttp.h>

// Implemented in a separate file, because <wininet.h> and <winhttp.h> cannot be included together.
#include "bench/other_downloads.h"

namespace {

using win32::WinHttpHandle;

constexpr DWORD kChunk = 65535; // bytes; the buffer size of the library
constexpr double kMegabyte = 1e6;
constexpr int kRounds = 5;

struct Use {
    double wall = 0, processor = 0, growth = 0; // seconds, seconds, bytes
};

struct Lane {
    std::string name;
    bool (*run)();
    std::vector<Use> uses{};
};

std::wstring port() {
    return bench::setting(L"BENCH_PORT_DOWNLOAD");
}

std::wstring folder() {
    return bench::setting(L"BENCH_FOLDER");
}

double processorTime() {
    FILETIME created, ended, kernel, user;
    GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user);
    const auto seconds = [](const FILETIME& time) {
        return static_cast<double>((std::uint64_t{time.dwHighDateTime} << 32) + time.dwLowDateTime) * 1e-7;
    };
    return seconds(kernel) + seconds(user);
}

double workingSet() {
    PROCESS_MEMORY_COUNTERS counters{};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return static_cast<double>(counters.WorkingSetSize);
}

double peak;                      // bytes; the largest working set sampled during our download
std::uint64_t size = 200'000'000; // bytes of the file

/// Returns the path of a file on the server. The server sends as many bytes as the path states.
std::wstring remote(const wchar_t* name) {
    return L"/" + std::to_wstring(size) + L"/" + name;
}

bool ours() {
    if (startDownloadFile(L"127.0.0.1", static_cast<std::uint32_t>(std::stoul(port())), L"", L"",
                          (L"http://files.example" + remote(L"ours.bin")).c_str(), folder().c_str()) != 0)
        return false;
    std::uint8_t isOver = 0;
    for (isDownloadFileCompleted(&isOver); isOver == 0; isDownloadFileCompleted(&isOver)) {
        Sleep(size < 10'000'000 ? 1 : 10); // polling more often would distort the measurement
        static unsigned polls = 0;
        if (++polls % 4 == 0)
            peak = std::max(peak, workingSet());
    }
    std::uint32_t error = 0, stage = 0, status = 0;
    getDownloadFileErrors(&error, &stage, &status);
    return error == 0 && stage == 0 && status == 200;
}

bool receive(HINTERNET request, HANDLE file, bool asks) {
    std::vector<char> buffer(kChunk);
    for (;;) {
        DWORD available = kChunk, count = 0, written = 0;
        if (asks && !WinHttpQueryDataAvailable(request, &available))
            return false;
        if (available == 0)
            return true;
        if (!WinHttpReadData(request, buffer.data(), std::min(available, kChunk), &count))
            return false;
        if (count == 0)
            return true;
        if (!WriteFile(file, buffer.data(), count, &written, nullptr) || written != count)
            return false;
    }
}

/// \param asks True calls WinHttpQueryDataAvailable before each read, as the library does. False does not.
bool byWinHttp(bool asks) {
    const WinHttpHandle session(WinHttpOpen(L"bench", WINHTTP_ACCESS_TYPE_NAMED_PROXY,
                                            (L"127.0.0.1:" + port()).c_str(), WINHTTP_NO_PROXY_BYPASS, 0));
    const WinHttpHandle connection(
        WinHttpConnect(session.get(), L"files.example", INTERNET_DEFAULT_HTTP_PORT, 0));
    const WinHttpHandle request(WinHttpOpenRequest(connection.get(), L"GET", remote(L"bare.bin").c_str(),
                                                   nullptr, WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES,
                                                   0));
    const win32::KernelHandle file(CreateFileW((folder() + L"\\bare.bin").c_str(), GENERIC_WRITE, 0, nullptr,
                                               CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    return file &&
           WinHttpSendRequest(request.get(), WINHTTP_NO_ADDITIONAL_HEADERS, 0, WINHTTP_NO_REQUEST_DATA, 0, 0,
                              0) &&
           WinHttpReceiveResponse(request.get(), nullptr) && receive(request.get(), file.get(), asks);
}

bool byUrlmon() {
    return bench::downloadByUrlmon(L"http://127.0.0.1:" + port() + remote(L"urlmon.bin"),
                                   folder() + L"\\urlmon.bin");
}

bool byWinInet() {
    return bench::downloadByWinInet(L"http://127.0.0.1:" + port() + remote(L"wininet.bin"),
                                    folder() + L"\\wininet.bin", kChunk);
}

bool runOnce(Lane& lane) {
    const double memory = workingSet(), processor = processorTime(), begin = bench::now();
    peak = memory;
    if (!lane.run())
        return false;
    const double wall = bench::now() - begin;
    lane.uses.push_back({wall, processorTime() - processor, std::max(peak, workingSet()) - memory});
    return true;
}

double typical(const Lane& lane, double Use::*field) {
    std::vector<double> values;
    values.reserve(lane.uses.size());
    for (const Use& use : lane.uses)
        values.push_back(use.*field);
    return bench::median(values);
}

bench::Spread ratio(const Lane& lane, const Lane& other, double Use::*field) {
    std::vector<double> ratios;
    ratios.reserve(lane.uses.size());
    for (std::size_t i = 0; i < lane.uses.size(); ++i)
        ratios.push_back(lane.uses[i].*field / std::max(other.uses[i].*field, 1e-3));
    return bench::spread(ratios);
}

void report(const std::vector<Lane>& lanes) {
    constexpr double kLeastRate = 0.97, kMostProcessor = 1.05, kMostGrowth = 4e6;
    const Lane& here = lanes[0];
    const Lane& limit = lanes[1];
    const auto best =
        std::min_element(lanes.begin() + 2, lanes.end(), [](const Lane& left, const Lane& right) {
            return typical(left, &Use::wall) < typical(right, &Use::wall);
        });
    const bool hasBest = best != lanes.end();
    const auto row = [&](const char* name, double Use::*field, const auto& show, const char* goal,
                         double most) {
        const bench::Spread toLimit = ratio(here, limit, field);
        bench::print({.path = name,
                      .ours = show(typical(here, field)),
                      .limit = show(typical(limit, field)),
                      .alternative = hasBest ? show(typical(*best, field)) + " (" + best->name + ")" : "",
                      .toLimit = toLimit,
                      .toAlternative = hasBest ? ratio(here, *best, field) : bench::Spread(),
                      .goal = goal,
                      .isMet = toLimit.median <= most});
    };
    row(
        "download 200 MB", &Use::wall,
        [](double wall) { return bench::format("%.0f MB/s", static_cast<double>(size) / kMegabyte / wall); },
        "at least 0.97 of the limit's rate", 1 / kLeastRate);
    row(
        "download 200 MB, processor time", &Use::processor,
        [](double time) { return bench::format("%.0f ms", time * 1e3); }, "1.05 x limit", kMostProcessor);
    const auto megabytes = [](double bytes) { return bench::format("%.1f MB", bytes / kMegabyte); };
    const double growth = typical(here, &Use::growth);
    bench::print(
        {.path = "download 200 MB, growth of the working set",
         .ours = megabytes(growth),
         .limit = megabytes(typical(limit, &Use::growth)),
         .alternative = hasBest ? megabytes(typical(*best, &Use::growth)) + " (" + best->name + ")" : "",
         .goal = "at most 4 MB",
         .isMet = growth <= kMostGrowth});
    for (const Lane& lane : lanes)
        bench::printDetail(
            "download 200 MB", lane.name,
            bench::format("%.0f MB/s, ", static_cast<double>(size) / kMegabyte / typical(lane, &Use::wall)) +
                bench::format("%.0f ms of processor time", typical(lane, &Use::processor) * 1e3));
}

} // namespace

void benchDownload() {
    std::vector<Lane> lanes{{"startDownloadFile", ours},
                            {"WinHTTP loop", [] { return byWinHttp(true); }},
                            {"WinHTTP loop without a query", [] { return byWinHttp(false); }},
                            {"URLDownloadToFileW", byUrlmon},
                            {"WinINet loop", byWinInet}};
    for (std::size_t i = lanes.size(); i-- > 0;) { // the first run of each only warms up
        const bool isGood = runOnce(lanes[i]);
        lanes[i].uses.clear();
        if (isGood)
            continue;
        bench::require(i >= 2, lanes[i].name + " does not work");
        bench::printDetail("download 200 MB", lanes[i].name, "does not work here");
        lanes.erase(lanes.begin() + static_cast<std::ptrdiff_t>(i));
    }
    for (int round = 0; round < kRounds; ++round)
        for (const std::size_t i : bench::randomOrder(lanes.size()))
            bench::require(runOnce(lanes[i]), lanes[i].name + " failed");
    stopDownloadFile();
    report(lanes);
}

void growDownload() {
    for (size = 1000; size <= 1'000'000'000; size *= 10)
        bench::measureGrowth(
            {.name = "download, by bytes",
             .ours = {"startDownloadFile", ours},
             .limit = bench::Contender{"WinHTTP loop", [] { return byWinHttp(true); }},
             .alternatives = {{"URLDownloadToFileW", byUrlmon}, {"WinINet loop", byWinInet}}},
            size);
    stopDownloadFile();
}
