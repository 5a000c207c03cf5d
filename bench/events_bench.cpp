// Ten usage events over HTTPS, to a statistics host that bench/run.py runs behind a proxy on loopback.

#include "bench/benchmarks.h"
#include "bench/harness.h"
#include "text/escape.h"
#include "ui/common/stat/event_record.h"
#include "win32/winhttp_handle.h"
#include "zelsyshelper.h"

#include <atomic>
#include <thread>
#include <vector>

#include <windows.h>
#include <winhttp.h>

namespace {

using win32::WinHttpHandle;

constexpr int kEvents = 10;
constexpr wchar_t kHost[] = L"statistics.quenlith.example";
constexpr wchar_t kHeaders[] = L"Content-Type: application/x-www-form-urlencoded";

WinHttpHandle openSession(const wchar_t* portSetting) {
    const std::wstring proxy = L"127.0.0.1:" + bench::setting(portSetting);
    return WinHttpHandle(
        WinHttpOpen(L"bench", WINHTTP_ACCESS_TYPE_NAMED_PROXY, proxy.c_str(), WINHTTP_NO_PROXY_BYPASS, 0));
}

bool post(HINTERNET connection, std::string body, bool keepsConnection) {
    const WinHttpHandle request(WinHttpOpenRequest(connection, L"POST", L"/AddEventJSONString.php", nullptr,
                                                   WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES,
                                                   WINHTTP_FLAG_SECURE));
    DWORD feature = WINHTTP_DISABLE_KEEP_ALIVE;
    if (!request || (!keepsConnection && !WinHttpSetOption(request.get(), WINHTTP_OPTION_DISABLE_FEATURE,
                                                           &feature, sizeof feature)))
        return false;
    const auto size = static_cast<DWORD>(body.size());
    if (!WinHttpSendRequest(request.get(), kHeaders, static_cast<DWORD>(-1), body.data(), size, size, 0) ||
        !WinHttpReceiveResponse(request.get(), nullptr))
        return false;
    char part[4096];
    for (DWORD count = 1; count != 0;)
        if (!WinHttpReadData(request.get(), part, sizeof part, &count))
            return false;
    DWORD status = 0, length = sizeof status;
    return WinHttpQueryHeaders(request.get(), WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
                               WINHTTP_HEADER_NAME_BY_INDEX, &status, &length, WINHTTP_NO_HEADER_INDEX) &&
           status == 200;
}

/// Returns the body of our events, so that all contenders send the same amount.
std::string sampleBody() {
    stats::CEventRecord record;
    record.store(
        {"2", "4.1.0.2210", "A", "summer", "", "", "", "7b0c2f1e-5a1d-4f6f-9a34-1c2d3e4f5a6b", "2210", "DE"});
    record.store({"install_done", "installer", "path", "C:\\Media \"A\""}, 1, false);
    return "data=" + text::percentEncode(record.body());
}

bool postAllOnOneSession() {
    static const WinHttpHandle session = openSession(L"BENCH_PORT_EVENTS");
    const WinHttpHandle connection(WinHttpConnect(session.get(), kHost, INTERNET_DEFAULT_HTTPS_PORT, 0));
    bool isGood = static_cast<bool>(connection);
    for (int i = 0; i < kEvents && isGood; ++i)
        isGood = post(connection.get(), sampleBody(), true);
    return isGood;
}

/// Opens a new connection for each event. Windows closes the connections of a session with its handle. Wine
/// keeps connections for the whole process, so the requests set WINHTTP_DISABLE_KEEP_ALIVE. They go to a
/// server of their own: otherwise they would reuse and close the kept connections of the other contenders.
bool postEachOnItsOwnSession() {
    bool isGood = true;
    for (int i = 0; i < kEvents && isGood; ++i) {
        const WinHttpHandle session = openSession(L"BENCH_PORT_FRESH");
        const WinHttpHandle connection(WinHttpConnect(session.get(), kHost, INTERNET_DEFAULT_HTTPS_PORT, 0));
        isGood = connection && post(connection.get(), sampleBody(), false);
    }
    return isGood;
}

/// Runs one contender on several threads at the same time.
bool onThreads(std::size_t count, bool (*run)()) {
    std::atomic<bool> isGood = true;
    std::vector<std::thread> threads;
    threads.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        threads.emplace_back([&] {
            if (!run())
                isGood = false;
        });
    for (std::thread& thread : threads)
        thread.join();
    return isGood;
}

bool sendAll() {
    for (int i = 0; i < kEvents; ++i)
        sendAppEvent("install_done", "installer", "path", "C:\\Media \"A\"", "2", "4.1.0.2210", "A", "summer",
                     "7b0c2f1e-5a1d-4f6f-9a34-1c2d3e4f5a6b", "2210");
    return true;
}

} // namespace

void benchEvents() {
    bench::measure({.name = "10 events over HTTPS",
                    .ours = {"sendAppEvent", sendAll},
                    .limit = bench::Contender{"WinHTTP, one session", postAllOnOneSession},
                    .alternatives = {{"WinHTTP, a session each", postEachOnItsOwnSession}},
                    .goal = {.mostToLimit = 1.2, .mostToAlternative = 0.5},
                    .seconds = 10});
}

void growEvents() {
    for (std::size_t threads = 1; threads <= 16; threads *= 2)
        bench::measureGrowth(
            {.name = "10 events over HTTPS by each thread, by threads",
             .ours = {"sendAppEvent", [=] { return onThreads(threads, sendAll); }},
             .limit = bench::Contender{"WinHTTP, one session",
                                       [=] { return onThreads(threads, postAllOnOneSession); }},
             .alternatives = {{"WinHTTP, a session each",
                               [=] { return onThreads(threads, postEachOnItsOwnSession); }}}},
            threads);
}
