#include "xferlib/xferlib.h"

#include "support/fields.h"
#include "support/seam.h"
#include "support/servers.h"

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <winhttp.h>

ZELSYS_SEAM(L"winhttp.dll", WinHttpSendRequest)
ZELSYS_SEAM(L"winhttp.dll", WinHttpAddRequestHeaders)
ZELSYS_SEAM(L"winhttp.dll", WinHttpReadData)
ZELSYS_SEAM(L"winhttp.dll", WinHttpCloseHandle)
ZELSYS_SEAM(L"winhttp.dll", WinHttpOpen)
ZELSYS_SEAM(L"winhttp.dll", WinHttpOpenRequest)
ZELSYS_SEAM(L"winhttp.dll", WinHttpSetOption)
ZELSYS_SEAM(L"kernel32.dll", GetTickCount64)
ZELSYS_SEAM(L"kernel32.dll", GetModuleHandleExW)

namespace xferlib {
ZELSYS_FIELDS(Response, code, status, body)
}

namespace {

using testing_support::port;
using testing_support::Received;
using xferlib::fetch;
using xferlib::Request;
using xferlib::Response;

class Xferlib : public testing::Test {
protected:
    Xferlib() { EXPECT_EQ(xferlib::init(), 0); }
    ~Xferlib() override { testing_support::restoreSeams(); }
};

/// Returns the response of an exchange in which the server receives this request.
Response success(const Received& received) {
    return {.status = 200, .body = received.text()};
}

std::string url(const std::string& path, const char* server = "PLAIN") {
    return "http://127.0.0.1:" + std::to_string(port(server)) + path;
}

Response get(const std::string& path) {
    return fetch({.url = url(path)});
}

Request throughProxy(const std::string& address, const char* server = "PLAIN") {
    return {.url = address, .proxyHost = "127.0.0.1", .proxyPort = port(server)};
}

TEST_F(Xferlib, Outcomes) {
    const std::pair<std::string, Response> cases[] = {
        {"/echo?q=1%20a#fragment", success({.path = "/echo?q=1%20a"})},
        {"/status/404", {.status = 404, .body = "body of 404"}},
        {"/chunked", {.status = 200, .body = "abcde"}},
        {"/short", {.code = 18, .status = 200, .body = "short"}},
        {"/bodyless/204", {.status = 204}},
        {"/bodyless/304", {.status = 304}},
        {"/close", {.code = 52}},
        {"/garbage", {.code = 52}},
        {"/negative", {.code = 18, .status = 200, .body = "short"}},
        {"/huge", {.code = 18, .status = 200, .body = "short"}},
        {"/odd", {.status = 200, .body = "ok"}},
        {"/redirect/10", success({.path = "/redirect/0"})},
        {"/redirect/11", {.code = 47, .status = 302}},
        {"/to/301//echo" + std::string(100, 'x'), success({.path = "/echo" + std::string(100, 'x')})},
        {"/to/302/ftp%3A%2F%2Fx%2Fy", {.code = 1}},
    };
    for (const auto& [path, expected] : cases)
        EXPECT_EQ(get(path), expected) << path;
    const Response largest = get("/file/1048576/f");
    EXPECT_EQ(largest.code, 0);
    EXPECT_EQ(largest.body.size(), 1'048'576u);
    EXPECT_EQ(get("/file/1048577/f").code, 63);
}

TEST_F(Xferlib, Addresses) {
    EXPECT_EQ(fetch({.url = ""}), Response{.code = 3});
    EXPECT_EQ(fetch({.url = "ftp://127.0.0.1/"}), Response{.code = 1});
    EXPECT_EQ(fetch({.url = "http:///x"}), Response{.code = 3});
    EXPECT_EQ(fetch({.url = "http://no..where/"}), Response{.code = 6});
    EXPECT_EQ(fetch({.url = url("/", "CLOSED")}), Response{.code = 7});
    const auto through = [](const std::string& host, std::int32_t number = port("PLAIN")) {
        return fetch({.url = "http://some.example:81/echo", .proxyHost = host, .proxyPort = number});
    };
    EXPECT_EQ(through("127.0.0.1", port("CLOSED")), Response{.code = 7});
    EXPECT_EQ(through("no..where"), Response{.code = 5});
    WinHttpOpenRequestSeam::failWith(ERROR_WINHTTP_CANNOT_CONNECT);
    for (const int number : {-1, 0, 1, 65535, 65536})
        EXPECT_EQ(through("127.0.0.1", number), Response{.code = number >= 1 && number <= 65535 ? 7 : 5});
    WinHttpOpenRequestSeam::restore();
    for (const char* host : {"127.0.0.1", "http://127.0.0.1", "HTTP://127.0.0.1/"})
        EXPECT_EQ(through(host), success({.host = "some.example:81"})) << host;
    WinHttpSendRequestSeam::restore();
    for (const char* host : {"127.0.0.1\xFF", "http://", "socks://127.0.0.1", "127.0.0.1:8080", "[::1]:80"})
        EXPECT_EQ(through(host), Response{.code = 5}) << std::string(host).size();
    EXPECT_EQ(WinHttpSendRequestSeam::calls, 0) << "no direct connection instead";
}

TEST_F(Xferlib, PostsAcrossRedirects) {
    const auto post = [](const std::string& path, const std::string& body = "a=1&b") {
        return fetch({.url = url(path), .body = body, .headers = {"Content-Type: text/x"}, .post = true});
    };
    const Received repeated{.method = "POST", .contentType = "text/x", .body = "a=1&b"};
    for (const char* path : {"/echo", "/to/301//echo", "/to/302//echo", "/to/307//echo", "/to/308//echo"})
        EXPECT_EQ(post(path), success(repeated)) << path;
    EXPECT_EQ(post("/to/303//echo"), success({.method = "GET"}));
    EXPECT_EQ(post("/echo", ""), success({.method = "POST", .contentType = "text/x"}));
}

TEST_F(Xferlib, SlowServersTimeOut) {
    for (const char* path : {"/silent", "/headtrickle", "/endless", "/trickle"}) {
        const ULONGLONG begin = GetTickCount64();
        WinHttpOpenRequestSeam::calls = 0;
        EXPECT_EQ(fetch({.url = url(path), .attempts = 3, .timeoutSeconds = 1}).code, 28) << path;
        EXPECT_LT(GetTickCount64() - begin, 8'000u) << path << " took 8 s or longer instead of 2";
        EXPECT_EQ(WinHttpOpenRequestSeam::calls, 1) << "no attempt after the deadline";
    }
    GetModuleHandleExWSeam::calls = 0;
    WinHttpCloseHandleSeam::fake = [](auto) { return TRUE; };
    EXPECT_EQ(get("/status/404").status, 404);
    EXPECT_EQ(GetModuleHandleExWSeam::calls, 1) << "the module stays loaded if a request does not close";
}

TEST_F(Xferlib, SendsAgainOnResendRequest) {
    const Request request{.url = url("/echo"), .headers = {"Content-Type: text/x"}};
    int refusals = 5;
    WinHttpSendRequestSeam::fake = [&](auto... arguments) {
        SetLastError(ERROR_WINHTTP_RESEND_REQUEST);
        return refusals-- > 0 ? FALSE : WinHttpSendRequestSeam::real(arguments...);
    };
    EXPECT_EQ(fetch(request), success({.contentType = "text/x"}));
    EXPECT_EQ(WinHttpAddRequestHeadersSeam::calls, 1);
    refusals = 1'000'000;
    EXPECT_EQ(fetch(request), Response{.code = 56});
    EXPECT_EQ(WinHttpSendRequestSeam::calls, 5 + 1 + 32) << "the repetitions are limited";
}

TEST_F(Xferlib, SessionIsReusedUntilIdleFor30Seconds) {
    ULONGLONG later = 0;
    GetTickCount64Seam::fake = [&later] { return GetTickCount64Seam::real() + later; };
    WinHttpSendRequestSeam::fake = [&later](auto... arguments) {
        later += 10'000; // the duration of an exchange is not idle time
        return WinHttpSendRequestSeam::real(arguments...);
    };
    for (const auto& [idle, sessions] : {std::pair(100'000, 1), std::pair(25'000, 1), std::pair(31'000, 2)}) {
        later += static_cast<ULONGLONG>(idle);
        EXPECT_EQ(get("/status/200"), (Response{.status = 200, .body = "body of 200"}));
        EXPECT_EQ(WinHttpOpenSeam::calls, sessions) << idle;
    }
}

TEST_F(Xferlib, ThreadsOpenOneSessionAtATime) {
    std::atomic<int> inside = 0, most = 0;
    WinHttpOpenSeam::fake = [&](auto... arguments) {
        most = std::max(most.load(), ++inside);
        Sleep(50);
        --inside;
        return WinHttpOpenSeam::real(arguments...);
    };
    const auto fetchThrough = [](int proxyPort) { fetch({.proxyHost = "x", .proxyPort = proxyPort}); };
    {
        const std::jthread first(fetchThrough, 1), second(fetchThrough, 2); // each replaces the session
    }
    EXPECT_TRUE(WinHttpOpenSeam::calls == 2 && most == 1);
}

TEST_F(Xferlib, HostsCannotStoreCookies) {
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(get("/cookie"), (Response{.status = 200, .body = "None"}));
}

TEST_F(Xferlib, RepeatsFailedExchangesOnly) {
    EXPECT_EQ(fetch({.url = url("/flaky"), .attempts = 2}), Response{.status = 200});
    WinHttpSendRequestSeam::restore();
    EXPECT_EQ(fetch({.url = url("/status/500"), .attempts = 3}),
              (Response{.status = 500, .body = "body of 500"}));
    EXPECT_EQ(WinHttpSendRequestSeam::calls, 1);
}

TEST_F(Xferlib, SendsCredentialsOncePerScheme) {
    Request request = throughProxy("http://some.example/to/307/%2Fecho", "GUARDED");
    request.attempts = 2;
    const Response refused{.code = 56, .status = 407};
    EXPECT_EQ(fetch(request), refused) << "the proxy's page is not the host's reply";
    static int run = 0; // a new password for each run: refusals are cached for a minute
    request.proxyUser = "user";
    request.proxyPassword = "wrong" + std::to_string(++run);
    EXPECT_EQ(fetch(request), refused);
    EXPECT_EQ(fetch(request), refused); // sends no password: a domain counts wrong ones
    EXPECT_EQ(get("/tries"), (Response{.status = 200, .body = "Basic"})) << "refused schemes are not retried";
    request.proxyPassword = "pass:word";
    int pages = 0;
    WinHttpReadDataSeam::calls = 0;
    WinHttpSendRequestSeam::fake = [&pages](auto... arguments) {
        pages += WinHttpReadDataSeam::calls.exchange(0) >= 3; // two reads for a page and one for its end
        return WinHttpSendRequestSeam::real(arguments...);
    };
    EXPECT_EQ(fetch(request), success({.host = "some.example:80"}));
    EXPECT_EQ(pages, 4 + 1) << "each 407 is read to its end before the next send";
    EXPECT_EQ(get("/tries"), (Response{.status = 200, .body = "Basic Basic"})) << "once per request";
    WinHttpSendRequestSeam::restore();

    request.proxyHost.clear();
    request.url = url("/challenge");
    EXPECT_EQ(fetch(request), refused) << "a host that requests the credentials";
    request.proxyHost = "127.0.0.1";
    request.proxyPort = port("PLAIN");
    for (const std::string path : {"/echo", "/challenge", "/echo"}) { // the last one reuses the tunnel
        request.url = "https://secure.example" + path;
        EXPECT_EQ(fetch(request).code, path == "/challenge" ? 56 : 0) << path;
    }
    EXPECT_EQ(get("/tries"), Response{.status = 200}) << "hosts receive no credentials of the proxy";
    request.proxyPassword = "\xFF";
    EXPECT_EQ(fetch(request), Response{.code = 67}) << "not UTF-8";
}

TEST_F(Xferlib, SecureConnections) {
    EXPECT_EQ(fetch(throughProxy("http://some.example/to/302/https%3A%2F%2Fsecure.example%2Fecho")),
              success({.host = "secure.example:443"}));
    EXPECT_EQ(fetch(throughProxy("https://secure.example/to/302/http%3A%2F%2Fsome.example%2Fecho")),
              Response{.code = 1})
        << "no redirect from https to http";
    EXPECT_EQ(fetch(throughProxy("https://secure.example/to/302/https%3A%2F%2Fx%3A99999%2F")),
              Response{.code = 3});
    // Wine reports a rejected certificate as a failed handshake (35), Windows as a certificate error (60).
    const Response rejected{.code = 35};
    EXPECT_EQ(fetch(throughProxy("https://other.example/echo")), rejected) << "another host's certificate";
    for (const char* server : {"UNTRUSTED", "SELFSIGNED", "EXPIRED"})
        EXPECT_EQ(fetch(throughProxy("https://secure.example/echo", server)), rejected) << server;
    const std::pair<std::vector<int>, int> faults[] = {
        {{ERROR_WINHTTP_SECURE_CERT_DATE_INVALID, ERROR_WINHTTP_SECURE_CERT_CN_INVALID,
          ERROR_WINHTTP_SECURE_INVALID_CA, ERROR_WINHTTP_SECURE_CERT_REV_FAILED,
          ERROR_WINHTTP_SECURE_INVALID_CERT, ERROR_WINHTTP_SECURE_CERT_REVOKED, ERROR_WINHTTP_SECURE_FAILURE,
          ERROR_WINHTTP_SECURE_CERT_WRONG_USAGE},
         60},
        {{WSAETIMEDOUT, ERROR_WINHTTP_TIMEOUT}, 28},
        {{WSAECONNABORTED, WSAECONNRESET, ERROR_WINHTTP_CONNECTION_ERROR}, 56},
        {{WSAECONNREFUSED, ERROR_WINHTTP_CANNOT_CONNECT}, 7}};
    for (const auto& [errors, code] : faults)
        for (const int error : errors) {
            WinHttpSendRequestSeam::failWith(static_cast<DWORD>(error));
            EXPECT_EQ(fetch({.url = "https://secure.example/"}), Response{.code = code}) << error;
        }
}

TEST_F(Xferlib, SessionsAllowNoTlsBefore12AndShareNoConnections) {
    for (const bool isOldWindows : {false, true}) {
        std::vector<DWORD> allowed;
        BOOL isPoolOwn = FALSE;
        WinHttpSetOptionSeam::fake = [&](HINTERNET handle, DWORD option, void* value, DWORD size) {
            if (option == 195) // WINHTTP_OPTION_DISABLE_GLOBAL_POOLING
                isPoolOwn = *static_cast<BOOL*>(value);
            if (option != WINHTTP_OPTION_SECURE_PROTOCOLS)
                return WinHttpSetOptionSeam::real(handle, option, value, size);
            const DWORD protocols = *static_cast<DWORD*>(value);
            allowed.push_back(protocols);
            return isOldWindows && protocols != WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_2 ? FALSE : TRUE;
        };
        fetch({.url = "", .proxyHost = "x", .proxyPort = isOldWindows ? 6 : 5}); // a new session
        const DWORD both = WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_2 | WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_3;
        EXPECT_EQ(allowed, isOldWindows ? std::vector({both, DWORD{WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_2}})
                                        : std::vector({both}));
        EXPECT_TRUE(isPoolOwn);
    }
}

} // namespace
