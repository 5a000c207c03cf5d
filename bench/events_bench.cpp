// Ten usage events over HTTPS, to a statistics host that bench/run.py runs behind a proxy on loopback.

#include "bench/benchmarks.h"
#include "bench/harness.h"
#include "sys/signal.h"
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

constexpr std::size_t kPartSize = 4096;
constexpr ULONGLONG kDeadline = 15'000; // milliseconds

WinHttpHandle openSession(const wchar_t* portSetting, DWORD flags = 0) {
    const std::wstring proxy = L"127.0.0.1:" + bench::setting(portSetting);
    return WinHttpHandle(WinHttpOpen(L"bench", WINHTTP_ACCESS_TYPE_NAMED_PROXY, proxy.c_str(),
                                     WINHTTP_NO_PROXY_BYPASS, flags));
}

WinHttpHandle openPost(HINTERNET connection) {
    return WinHttpHandle(WinHttpOpenRequest(connection, L"POST", L"/AddEventJSONString.php", nullptr,
                                            WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES,
                                            WINHTTP_FLAG_SECURE));
}

bool wasAccepted(HINTERNET request) {
    DWORD status = 0, length = sizeof status;
    return WinHttpQueryHeaders(request, WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
                               WINHTTP_HEADER_NAME_BY_INDEX, &status, &length, WINHTTP_NO_HEADER_INDEX) &&
           status == 200;
}

bool post(HINTERNET connection, std::string body, bool keepsConnection) {
    const WinHttpHandle request = openPost(connection);
    DWORD feature = WINHTTP_DISABLE_KEEP_ALIVE;
    if (!request || (!keepsConnection && !WinHttpSetOption(request.get(), WINHTTP_OPTION_DISABLE_FEATURE,
                                                           &feature, sizeof feature)))
        return false;
    const auto size = static_cast<DWORD>(body.size());
    if (!WinHttpSendRequest(request.get(), kHeaders, static_cast<DWORD>(-1), body.data(), size, size, 0) ||
        !WinHttpReceiveResponse(request.get(), nullptr))
        return false;
    char part[kPartSize];
    for (DWORD count = 1; count != 0;)
        if (!WinHttpReadData(request.get(), part, sizeof part, &count))
            return false;
    return wasAccepted(request.get());
}

struct AsyncPost {
    char part[kPartSize];
    bool isGood = false;
    sys::Signal over, closed;
};

/// Starts the next step in WinHTTP's thread. The caller's thread waits only for the last step.
void CALLBACK onStatus(HINTERNET request, DWORD_PTR context, DWORD status, void*, DWORD length) {
    if (context == 0)
        return;
    AsyncPost& post = *reinterpret_cast<AsyncPost*>(context);
    BOOL isStarted = FALSE;
    switch (status) {
    case WINHTTP_CALLBACK_STATUS_SENDREQUEST_COMPLETE:
        isStarted = WinHttpReceiveResponse(request, nullptr);
        break;
    case WINHTTP_CALLBACK_STATUS_READ_COMPLETE:
        post.isGood = length == 0;
        if (post.isGood)
            break;
        [[fallthrough]];
    case WINHTTP_CALLBACK_STATUS_HEADERS_AVAILABLE:
        isStarted = WinHttpReadData(request, post.part, sizeof post.part, nullptr);
        break;
    case WINHTTP_CALLBACK_STATUS_REQUEST_ERROR:
        break;
    case WINHTTP_CALLBACK_STATUS_HANDLE_CLOSING:
        post.closed.set();
        return;
    default:
        return;
    }
    if (!isStarted)
        post.over.set();
}

bool postAsynchronously(HINTERNET connection, std::string body) {
    AsyncPost state;
    auto context = reinterpret_cast<DWORD_PTR>(&state);
    WinHttpHandle request = openPost(connection);
    const auto size = static_cast<DWORD>(body.size());
    if (!request ||
        !WinHttpSetOption(request.get(), WINHTTP_OPTION_CONTEXT_VALUE, &context, sizeof context) ||
        WinHttpSetStatusCallback(request.get(), onStatus,
                                 WINHTTP_CALLBACK_FLAG_ALL_COMPLETIONS | WINHTTP_CALLBACK_FLAG_HANDLES,
                                 0) == WINHTTP_INVALID_STATUS_CALLBACK)
        return false;
    const bool isGood = WinHttpSendRequest(request.get(), kHeaders, static_cast<DWORD>(-1), body.data(), size,
                                           size, context) &&
                        state.over.wait(kDeadline) && state.isGood && wasAccepted(request.get());
    request.reset();
    bench::require(state.closed.wait(kDeadline), "WinHTTP did not close a request");
    return isGood;
}

/// Returns the body of our events, so that all contenders send the same amount.
std::string sampleBody() {
    stats::CEventRecord record;
    record.store(
        {"2", "4.1.0.2210", "A", "summer", "", "", "", "7b0c2f1e-5a1d-4f6f-9a34-1c2d3e4f5a6b", "2210", "DE"});
    record.store({"install_done", "installer", "path", "C:\\Media \"A\""}, 1, false);
    return "data=" + text::percentEncode(record.body());
}

bool postAll(const WinHttpHandle& session, bool (*postOne)(HINTERNET connection)) {
    const WinHttpHandle connection(WinHttpConnect(session.get(), kHost, INTERNET_DEFAULT_HTTPS_PORT, 0));
    bool isGood = static_cast<bool>(connection);
    for (int i = 0; i < kEvents && isGood; ++i)
        isGood = postOne(connection.get());
    return isGood;
}

bool postAllOnOneSession() {
    static const WinHttpHandle session = openSession(L"BENCH_PORT_EVENTS");
    return postAll(session, [](HINTERNET connection) { return post(connection, sampleBody(), true); });
}

bool postAllAsynchronously() {
    static const WinHttpHandle session = openSession(L"BENCH_PORT_EVENTS", WINHTTP_FLAG_ASYNC);
    return postAll(session,
                   [](HINTERNET connection) { return postAsynchronously(connection, sampleBody()); });
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
                    .references = {{"WinHTTP, one asynchronous session", postAllAsynchronously}},
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
