#include "xferlib/xferlib.h"

#include "support/seam.h"
#include "text/wide.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <winhttp.h>

ZELSYS_SEAM(L"winhttp.dll", WinHttpSendRequest)
ZELSYS_SEAM(L"winhttp.dll", WinHttpAddRequestHeaders)
ZELSYS_SEAM(L"winhttp.dll", WinHttpReadData)
ZELSYS_SEAM(L"winhttp.dll", WinHttpOpen)
ZELSYS_SEAM(L"winhttp.dll", WinHttpOpenRequest)
ZELSYS_SEAM(L"winhttp.dll", WinHttpSetOption)
ZELSYS_SEAM(L"kernel32.dll", GetTickCount64)

namespace {

using xferlib::Request;
using xferlib::Response;

std::string port(const char* server) {
    return std::getenv((std::string("PORT_") + server).c_str());
}

std::string url(const std::string& path) {
    return "http://127.0.0.1:" + port("PLAIN") + path;
}

Request get(const std::string& address) {
    return {.url = address};
}

Request throughProxy(const std::string& address, const char* server = "PLAIN") {
    return {.url = address, .proxyHost = "127.0.0.1", .proxyPort = std::atoi(port(server).c_str())};
}

/// Returns "code/status/body". A body of more than 60 bytes is replaced by its length.
std::string outcome(const Request& request) {
    EXPECT_EQ(xferlib::init(), 0);
    const Response response = xferlib::fetch(request);
    const std::string body =
        response.body.size() <= 60 ? response.body : std::to_string(response.body.size()) + " bytes";
    return std::to_string(response.code) + "/" + std::to_string(response.status) + "/" + body;
}

TEST(Xferlib, Outcomes) {
    const std::string origin = "127.0.0.1:" + port("PLAIN");
    const struct {
        std::string path, outcome;
    } cases[] = {
        {"/echo?q=1%20a#fragment", "0/200/GET " + origin + " /echo?q=1%20a None "},
        {"/status/404", "0/404/body of 404"},
        {"/chunked", "0/200/abcde"},
        {"/file/1048576/f", "0/200/1048576 bytes"},
        {"/short", "18/200/short"},
        {"/close", "52/0/"},
        {"/garbage", "52/0/"},
        {"/negative", "18/200/short"},
        {"/huge", "18/200/short"},
        {"/odd", "0/200/ok"},
        {"/redirect/10", "0/200/GET " + origin + " /redirect/0 None "},
        {"/redirect/11", "47/302/"},
        {"/to/301//echo", "0/200/GET " + origin + " /echo None "},
        {"/to/302/ftp%3A%2F%2Fx%2Fy", "1/0/"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(outcome(get(url(c.path))), c.outcome) << c.path;
    EXPECT_TRUE(outcome(get(url("/file/1048577/f"))).starts_with("63/200/"));
}

TEST(Xferlib, Addresses) {
    EXPECT_EQ(outcome(get("")), "3/0/");
    EXPECT_EQ(outcome(get("ftp://127.0.0.1/")), "1/0/");
    EXPECT_EQ(outcome(get("http:///x")), "3/0/");
    EXPECT_EQ(outcome(get("http://no..where/")), "6/0/");
    EXPECT_EQ(outcome(get("http://127.0.0.1:" + port("CLOSED") + "/")), "7/0/");
    Request request = throughProxy("http://some.example:81/echo", "CLOSED");
    EXPECT_EQ(outcome(request), "7/0/");
    request.proxyHost = "no..where";
    EXPECT_EQ(outcome(request), "5/0/");
    WinHttpOpenRequestSeam::failWith(ERROR_WINHTTP_CANNOT_CONNECT);
    request.proxyHost = "127.0.0.1";
    for (const int number : {-1, 0, 1, 65535, 65536}) {
        request.proxyPort = number;
        EXPECT_EQ(outcome(request), number >= 1 && number <= 65535 ? "7/0/" : "5/0/") << number;
    }
    WinHttpOpenRequestSeam::restore();
    for (const char* host : {"127.0.0.1", "http://127.0.0.1", "HTTP://127.0.0.1/"}) {
        request = throughProxy("http://some.example:81/echo");
        request.proxyHost = host;
        EXPECT_EQ(outcome(request), "0/200/GET some.example:81 /echo None ") << host;
    }
    for (const char* host : {"127.0.0.1\xFF", "http://", "socks://127.0.0.1", "127.0.0.1:8080"}) {
        WinHttpSendRequestSeam::calls = 0;
        request.proxyHost = host;
        EXPECT_EQ(outcome(request), "5/0/") << std::string(host).size();
        EXPECT_EQ(WinHttpSendRequestSeam::calls, 0) << "no direct connection instead";
    }
}

TEST(Xferlib, PostsAcrossRedirects) {
    Request request{.body = "a=1&b", .headers = {"Content-Type: text/x-test"}, .post = true};
    const auto post = [&](const std::string& path) {
        request.url = url(path);
        return outcome(request).substr(std::string("0/200/").size());
    };
    const std::string origin = " 127.0.0.1:" + port("PLAIN") + " /echo ";
    EXPECT_EQ(post("/echo"), "POST" + origin + "text/x-test a=1&b");
    EXPECT_EQ(post("/to/303//echo"), "GET" + origin + "None ");
    for (const char* path : {"/to/301//echo", "/to/302//echo", "/to/307//echo", "/to/308//echo"})
        EXPECT_EQ(post(path), "POST" + origin + "text/x-test a=1&b") << path;
    request.body.clear();
    EXPECT_EQ(post("/echo"), "POST" + origin + "text/x-test ");
}

TEST(Xferlib, SlowServersTimeOut) {
    for (const char* path : {"/silent", "/headtrickle", "/endless", "/trickle"}) {
        Request request = get(url(path));
        request.timeoutSeconds = 1;
        request.attempts = 3;
        WinHttpOpenRequestSeam::calls = 0;
        EXPECT_EQ(xferlib::fetch(request).code, 28) << path;
        EXPECT_EQ(WinHttpOpenRequestSeam::calls, 1) << "no attempt after the deadline";
    }
}

TEST(Xferlib, SendsAgainOnResendRequest) {
    const Request request{.url = url("/echo"), .headers = {"Content-Type: text/x-test"}};
    int refusals = 0;
    WinHttpSendRequestSeam::fake = [&](auto... arguments) {
        SetLastError(ERROR_WINHTTP_RESEND_REQUEST);
        return refusals-- > 0 ? FALSE : WinHttpSendRequestSeam::real(arguments...);
    };
    refusals = 5;
    WinHttpAddRequestHeadersSeam::calls = 0;
    EXPECT_EQ(outcome(request), "0/200/GET 127.0.0.1:" + port("PLAIN") + " /echo text/x-test ");
    EXPECT_EQ(WinHttpAddRequestHeadersSeam::calls, 1);
    refusals = 1'000'000;
    EXPECT_EQ(outcome(request), "56/0/") << "the repetitions are limited";
    WinHttpSendRequestSeam::restore();
}

TEST(Xferlib, SessionIsReusedUntilIdleFor30Seconds) {
    ULONGLONG later = 0;
    GetTickCount64Seam::fake = [&later] { return GetTickCount64Seam::real() + later; };
    WinHttpSendRequestSeam::fake = [&later](auto... arguments) {
        later += 10'000; // the duration of an exchange is not idle time
        return WinHttpSendRequestSeam::real(arguments...);
    };
    WinHttpOpenSeam::calls = 0;
    for (const auto& [idle, sessions] : {std::pair(100'000, 1), std::pair(25'000, 1), std::pair(31'000, 2)}) {
        later += static_cast<ULONGLONG>(idle);
        EXPECT_EQ(outcome(get(url("/status/200"))), "0/200/body of 200");
        EXPECT_EQ(WinHttpOpenSeam::calls, sessions) << idle;
    }
    testing_support::restoreSeams();
}

TEST(Xferlib, ThreadsOpenOneSessionAtATime) {
    std::atomic<int> inside = 0, most = 0;
    WinHttpOpenSeam::fake = [&](auto... arguments) {
        most = std::max(most.load(), ++inside);
        Sleep(50);
        --inside;
        return WinHttpOpenSeam::real(arguments...);
    };
    {
        std::vector<std::jthread> threads;
        for (int i = 1; i <= 4; ++i) // other proxies, so that each thread replaces the session
            threads.emplace_back([i] { xferlib::fetch({.url = "", .proxyHost = "x", .proxyPort = i}); });
    }
    EXPECT_EQ(WinHttpOpenSeam::calls, 4);
    EXPECT_EQ(most, 1);
    testing_support::restoreSeams();
}

TEST(Xferlib, HostsCannotStoreCookies) {
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(outcome(get(url("/cookie"))), "0/200/None");
}

TEST(Xferlib, RepeatsFailedExchangesOnly) {
    Request request = get(url("/flaky"));
    request.attempts = 2;
    EXPECT_EQ(outcome(request), "0/200/");
    WinHttpSendRequestSeam::restore();
    request = get(url("/status/500"));
    request.attempts = 3;
    EXPECT_EQ(outcome(request), "0/500/body of 500");
    EXPECT_EQ(WinHttpSendRequestSeam::calls, 1);
}

TEST(Xferlib, SendsCredentialsOncePerScheme) {
    const auto tries = [] { return outcome(get(url("/tries"))); };
    Request request = throughProxy("http://some.example/to/307/%2Fecho", "GUARDED");
    request.attempts = 2;
    EXPECT_EQ(outcome(request), "56/407/") << "the proxy's page is not the host's reply";
    static int run = 0; // a new password for each run: refusals are cached for a minute
    request.proxyUser = "user";
    request.proxyPassword = "wrong" + std::to_string(++run);
    EXPECT_EQ(outcome(request), "56/407/");
    EXPECT_EQ(outcome(request), "56/407/");
    EXPECT_EQ(tries(), "0/200/Basic") << "a domain counts wrong passwords";
    request.proxyPassword = "pass:word";
    int pages = 0;
    WinHttpReadDataSeam::calls = 0;
    WinHttpSendRequestSeam::fake = [&pages](auto... arguments) {
        pages += WinHttpReadDataSeam::calls.exchange(0) >= 3; // two reads for a page and one for its end
        return WinHttpSendRequestSeam::real(arguments...);
    };
    EXPECT_EQ(outcome(request), "0/200/GET some.example:80 /echo None ");
    EXPECT_EQ(pages, 4 + 1) << "each 407 is read to its end before the next send";
    EXPECT_EQ(tries(), "0/200/Basic Basic") << "once per request";
    WinHttpSendRequestSeam::restore();

    request.proxyHost.clear();
    request.url = url("/challenge");
    EXPECT_EQ(outcome(request), "56/407/") << "a host that requests the credentials";
    request.proxyHost = "127.0.0.1";
    request.proxyPort = std::atoi(port("PLAIN").c_str());
    for (const char* path : {"/echo", "/challenge", "/echo"}) { // the last one reuses the tunnel
        request.url = std::string("https://secure.example") + path;
        EXPECT_EQ(outcome(request).substr(0, 2), path[1] == 'e' ? "0/" : "56") << path;
    }
    EXPECT_EQ(tries(), "0/200/") << "hosts receive no credentials of the proxy";
    request.proxyPassword = "\xFF";
    EXPECT_EQ(outcome(request), "67/0/") << "not UTF-8";
}

TEST(Xferlib, SecureConnections) {
    EXPECT_EQ(outcome(throughProxy("http://some.example/to/302/https%3A%2F%2Fsecure.example%2Fecho")),
              "0/200/GET secure.example:443 /echo None ");
    EXPECT_EQ(outcome(throughProxy("https://secure.example/to/302/http%3A%2F%2Fsome.example%2Fecho")),
              "1/302/")
        << "no redirect from https to http";
    // Wine reports a rejected certificate as a failed handshake, Windows as the certificate's fault (60).
    EXPECT_EQ(outcome(throughProxy("https://other.example/echo")), "35/0/") << "another host's certificate";
    for (const char* server : {"UNTRUSTED", "SELFSIGNED", "EXPIRED"})
        EXPECT_EQ(outcome(throughProxy("https://secure.example/echo", server)), "35/0/") << server;
    constexpr DWORD kFaults[] = {
        ERROR_WINHTTP_SECURE_CERT_DATE_INVALID, ERROR_WINHTTP_SECURE_CERT_CN_INVALID,
        ERROR_WINHTTP_SECURE_INVALID_CA,        ERROR_WINHTTP_SECURE_CERT_REV_FAILED,
        ERROR_WINHTTP_SECURE_INVALID_CERT,      ERROR_WINHTTP_SECURE_CERT_REVOKED,
        ERROR_WINHTTP_SECURE_FAILURE,           ERROR_WINHTTP_SECURE_CERT_WRONG_USAGE};
    for (const DWORD fault : kFaults) {
        WinHttpSendRequestSeam::failWith(fault);
        EXPECT_EQ(outcome(get("https://secure.example/")), "60/0/") << fault;
    }
    testing_support::restoreSeams();
}

TEST(Xferlib, AllowsNoTlsBefore12) {
    for (const bool isOldWindows : {false, true}) {
        std::vector<DWORD> allowed;
        WinHttpSetOptionSeam::fake = [&](HINTERNET handle, DWORD option, void* value, DWORD size) {
            if (option != WINHTTP_OPTION_SECURE_PROTOCOLS)
                return WinHttpSetOptionSeam::real(handle, option, value, size);
            const DWORD protocols = *static_cast<DWORD*>(value);
            allowed.push_back(protocols);
            return isOldWindows && protocols != WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_2 ? FALSE : TRUE;
        };
        xferlib::fetch({.url = "", .proxyHost = "x", .proxyPort = isOldWindows ? 6 : 5}); // a new session
        const DWORD both = WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_2 | WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_3;
        EXPECT_EQ(allowed, isOldWindows ? std::vector({both, DWORD{WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_2}})
                                        : std::vector({both}));
    }
    testing_support::restoreSeams();
}

} // namespace
