#include "http/http_request.h"

#include "support/fields.h"
#include "support/seam.h"
#include "support/servers.h"

#include <thread>

#include <gtest/gtest.h>

ZELSYS_SEAM(L"winhttp.dll", WinHttpOpen)
ZELSYS_SEAM(L"winhttp.dll", WinHttpSetTimeouts)
ZELSYS_SEAM(L"winhttp.dll", WinHttpConnect)
ZELSYS_SEAM(L"winhttp.dll", WinHttpOpenRequest)
ZELSYS_SEAM(L"winhttp.dll", WinHttpAddRequestHeaders)
ZELSYS_SEAM(L"winhttp.dll", WinHttpQueryAuthSchemes)
ZELSYS_SEAM(L"winhttp.dll", WinHttpSetCredentials)
ZELSYS_SEAM(L"winhttp.dll", WinHttpSetOption)
ZELSYS_SEAM(L"winhttp.dll", WinHttpSendRequest)
ZELSYS_SEAM(L"winhttp.dll", WinHttpReceiveResponse)
ZELSYS_SEAM(L"winhttp.dll", WinHttpWriteData)
ZELSYS_SEAM(L"winhttp.dll", WinHttpQueryDataAvailable)
ZELSYS_SEAM(L"winhttp.dll", WinHttpReadData)
ZELSYS_SEAM(L"winhttp.dll", WinHttpCloseHandle)
ZELSYS_SEAM(L"kernel32.dll", Sleep)

namespace {

using http::CHttpRequest;
using testing_support::port;
using testing_support::Received;

struct Input : io::CIStreamBase {
    explicit Input(std::string text) : bytes(std::move(text)) {}
    std::int64_t size() const override { return std::ssize(bytes); }
    bool read(char* buffer, std::uint32_t capacity, std::uint32_t& count) override {
        count = static_cast<std::uint32_t>(bytes.copy(buffer, capacity, place));
        place += count;
        return true;
    }
    std::string bytes;
    std::size_t place = 0;
};

struct Output : io::COStreamBase<char> {
    std::uint32_t Write(const char* buffer, std::uint32_t count) override {
        bytes.append(buffer, std::min(count, most));
        if (onWrite)
            onWrite();
        return std::min(count, most);
    }
    std::uint32_t GetLastError() const override { return ERROR_DISK_FULL; }
    std::string bytes;
    std::uint32_t most = 1 << 30;
    std::function<void()> onWrite;
};

/// The result of an exchange and its error record, which repeats the result unless a body ends too early.
struct Outcome {
    std::uint32_t error = 0, stage = 0;
    std::uint32_t recordedError = error, recordedStage = stage;
    bool failed = false;
};
ZELSYS_FIELDS(Outcome, error, stage, recordedError, recordedStage, failed)
const Outcome kSuccess{};

class HttpRequest : public testing::Test {
protected:
    ~HttpRequest() override { testing_support::restoreSeams(); }
    HttpRequest() { request.setProxy({.host = "127.0.0.1", .port = port("PLAIN")}); }

    Outcome execute(const std::wstring& path, std::int64_t expectedLength = 0,
                    io::CIStreamBase* input = nullptr) {
        http::TResult result{1, 1};
        const std::wstring url = path.starts_with(L"/") ? L"http://some.example:81" + path : path;
        request.Execute(result, url, input != nullptr ? L"POST" : L"GET", input, &output, expectedLength);
        EXPECT_FALSE(request.isBusy());
        const auto recorded = request.error();
        return {result.error, result.stage, recorded.error, recorded.stage, recorded.failed};
    }

    CHttpRequest request;
    Output output;
};

TEST_F(HttpRequest, EachFailedCallHasItsStage) {
    request.setExtraHeaders(L"X-Extra: 1");
    request.setCredentials({L"user", L"password", {}});
    EXPECT_EQ(execute(L"/echo"), (Outcome{.error = 4317, .stage = 14110})) << "no scheme is known yet";
    WinHttpQueryAuthSchemesSeam::fake = [](HINTERNET, DWORD*, DWORD* first, DWORD* target) {
        *first = WINHTTP_AUTH_SCHEME_BASIC;
        *target = WINHTTP_AUTH_TARGET_SERVER;
        return TRUE;
    };
    request.setRedirectPolicy(http::redirect::TRedirectPolicy::always);
    const auto expect = [&](const Outcome& outcome, auto failing) {
        Input input("body");
        failing.failWith(5);
        EXPECT_EQ(execute(L"/echo", 0, &input), outcome);
        EXPECT_EQ(failing.calls, 1) << "stage " << outcome.stage;
        EXPECT_EQ(output.bytes, "") << "the exchange ends at stage " << outcome.stage;
        failing.restore();
    };
    expect({.error = 5, .stage = 14104}, WinHttpOpenSeam());
    expect({.error = 5, .stage = 14119, .failed = true}, WinHttpSetTimeoutsSeam());
    expect({.error = 5, .stage = 14105}, WinHttpConnectSeam());
    expect({.error = 5, .stage = 14106}, WinHttpOpenRequestSeam());
    expect({.error = 5, .stage = 14107}, WinHttpAddRequestHeadersSeam());
    expect({.error = 5, .stage = 14111}, WinHttpSetCredentialsSeam());
    expect({.error = 5, .stage = 14112}, WinHttpSetOptionSeam());
    expect({.error = 5, .stage = 14113}, WinHttpSendRequestSeam());
    expect({.error = 5, .stage = 14115, .failed = true}, WinHttpWriteDataSeam());
    expect({.error = 5, .stage = 14114}, WinHttpReceiveResponseSeam());
    expect({.error = 5, .stage = 14116}, WinHttpQueryDataAvailableSeam());
    expect({.error = 5, .stage = 14117}, WinHttpReadDataSeam());

    request.setCredentials({L"user", {}, {}});
    EXPECT_EQ(execute(L"nonsense"), (Outcome{.error = 12006, .stage = 14102, .failed = true}));
    EXPECT_EQ(execute(L"http:///x"), (Outcome{.error = 87, .stage = 14103, .failed = true}));
    EXPECT_EQ(output.bytes, "") << "nothing is sent";
    output.most = 1;
    EXPECT_EQ(execute(L"/echo"), (Outcome{.error = 112, .stage = 14118, .failed = true}));
}

TEST_F(HttpRequest, SendIsRepeatedOnTimeOutOnly) {
    SleepSeam::fake = [](DWORD time) { EXPECT_EQ(time, 100u); };
    int failures = 2;
    WinHttpSendRequestSeam::fake = [&failures](auto... arguments) {
        SetLastError(12002);
        return failures-- > 0 ? FALSE : WinHttpSendRequestSeam::real(arguments...);
    };
    EXPECT_EQ(execute(L"/echo"), kSuccess);
    EXPECT_EQ(SleepSeam::calls, 2);
    failures = 17;
    EXPECT_EQ(execute(L"/echo"), (Outcome{.error = 12002, .stage = 14113}));
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(SleepSeam::calls, 2 + 16);
}

TEST_F(HttpRequest, UploadsInChunks) {
    Input input(std::string(200'000, 'u'));
    request.setThrottle(7);
    request.setExtraHeaders(L"Content-Type: text/u\r\nX-Extra: 1");
    SleepSeam::fake = [](DWORD time) { EXPECT_EQ(time, 7u); };
    EXPECT_EQ(execute(L"HTTP://Some.Example:81/echo?q", 0, &input), kSuccess);
    EXPECT_EQ(SleepSeam::calls, 4);
    const Received sent{
        .method = "POST", .host = "some.example:80", .path = "/echo?q", .contentType = "text/u"};
    EXPECT_TRUE(output.bytes == sent.text() + input.bytes) << output.bytes.substr(0, 100);
    EXPECT_EQ(request.progress().uploaded, 200'000);
    EXPECT_EQ(request.progress().inputSize, 200'000);
    Input byte("1");
    EXPECT_EQ(execute(L"/echo", 0, &byte), kSuccess);
    EXPECT_TRUE(output.bytes.ends_with(byte.bytes)) << output.bytes;
}

TEST_F(HttpRequest, FollowsRedirectsAndSignsInToTheProxy) {
    EXPECT_EQ(execute(L"HTTPS://secure.example:99/echo"), kSuccess);
    EXPECT_EQ(execute(L"/to/302/https%3A%2F%2Fsecure.example%2Fecho"), kSuccess);
    request.setRedirectPolicy(http::redirect::TRedirectPolicy::always);
    EXPECT_EQ(execute(L"https://secure.example/to/302/http%3A%2F%2Fsome.example%2Fecho"), kSuccess);
    EXPECT_EQ(execute(L"/useragent"), kSuccess);
    request.setProxy(
        {.host = "127.0.0.1", .port = port("GUARDED"), .user = L"user", .password = L"pass:word"});
    EXPECT_EQ(execute(L"/echo"), kSuccess);
    const std::string agent = "Mozilla/5.0 (Windows NT 6.1; rv:13.0) Gecko/20100101 Firefox/13.0.1";
    const std::string secure = Received{.host = "secure.example:443"}.text();
    const std::string plain = Received{.host = "some.example:80"}.text();
    EXPECT_EQ(output.bytes, secure + secure + plain + agent + plain);
    WinHttpOpenSeam::fake = [](LPCWSTR, DWORD access, auto...) { return SetLastError(access), nullptr; };
    constexpr DWORD kDirect = WINHTTP_ACCESS_TYPE_NO_PROXY, kProxy = WINHTTP_ACCESS_TYPE_NAMED_PROXY;
    for (const auto& [host, number, access] :
         {std::tuple("x", 0u, kProxy), {"", 80u, kProxy}, {"", 0u, kDirect}}) {
        request.setProxy({.host = host, .port = number});
        EXPECT_EQ(execute(L"/echo").error, access);
    }
}

TEST_F(HttpRequest, ReadsNoMoreThanItsBufferHolds) {
    WinHttpQueryDataAvailableSeam::fake = [](HINTERNET handle, DWORD* available) {
        const BOOL result = WinHttpQueryDataAvailableSeam::real(handle, available);
        *available *= 100;
        return result;
    };
    WinHttpReadDataSeam::fake = [](HINTERNET handle, void* out, DWORD size, DWORD* count) {
        EXPECT_LE(size, 65535u);
        return WinHttpReadDataSeam::real(handle, out, size, count);
    };
    EXPECT_EQ(execute(L"/file/200000/x"), kSuccess);
    EXPECT_EQ(output.bytes.size(), 200'000u);
}

TEST_F(HttpRequest, CapturesHeaders) {
    request.setRedirectPolicy(http::redirect::TRedirectPolicy::never);
    EXPECT_EQ(execute(L"/headers"), kSuccess);
    const auto response = request.response();
    EXPECT_EQ(response.statusCode, 302u);
    EXPECT_EQ(response.cookies, L"a=1\r\nb=2");
    EXPECT_EQ(response.contentType, L"text/x");
    EXPECT_EQ(response.contentEncoding, L"none");
    EXPECT_EQ(response.location, L"/x");
    EXPECT_EQ(response.length, 4) << "the sum of the announced and the received length";
    EXPECT_GT(request.rawHeaders().size(), 70'000u);
    EXPECT_TRUE(request.rawHeaders().starts_with(L"HTTP/1.1 302 Found\r\n"));
    execute(L"nonsense");
    EXPECT_EQ(request.response().location + request.rawHeaders(), L"")
        << "no headers of the previous exchange";
}

TEST_F(HttpRequest, ShortBodyIsReportedInTheErrorRecordOnly) {
    EXPECT_EQ(execute(L"/short", 10), Outcome{.recordedStage = 14121});
    EXPECT_EQ(request.downloaded(), 5);
    EXPECT_EQ(execute(L"/short"), kSuccess) << "no length is expected";
    WinHttpReadDataSeam::fake = [](HINTERNET, void*, DWORD, DWORD* count) {
        *count = 0;
        return TRUE;
    };
    EXPECT_EQ(execute(L"/short", 10), Outcome{.recordedStage = 14122});
    WinHttpReadDataSeam::restore();
    output.bytes.clear();
    EXPECT_EQ(execute(L"/file/100000/x", 1), kSuccess);
    EXPECT_LT(output.bytes.size(), 100'000u) << "reading stops after the expected length";
}

TEST_F(HttpRequest, CancelReturnsAfterTheExchangeHasEnded) {
    EXPECT_EQ(request.Cancel(), 0u) << "nothing runs";
    std::thread canceller;
    output.onWrite = [&] {
        output.onWrite = nullptr;
        WinHttpCloseHandleSeam::calls = 0;
        canceller = std::thread([this] {
            EXPECT_EQ(request.Cancel(), 0u);
            EXPECT_FALSE(request.isBusy());
        });
        while (WinHttpCloseHandleSeam::calls < 3)
            std::this_thread::yield();
    };
    EXPECT_EQ(execute(L"/trickle", 20), Outcome{.recordedStage = 14120});
    canceller.join();

    WinHttpSetTimeoutsSeam::fake = [&](auto... arguments) { // cancels before the reply
        canceller = std::thread([this] { EXPECT_EQ(request.Cancel(), 0u); });
        return WinHttpSetTimeoutsSeam::real(arguments...);
    };
    EXPECT_EQ(execute(L"/late"), kSuccess);
    canceller.join();
    WinHttpSetTimeoutsSeam::restore();
    EXPECT_EQ(execute(L"/echo"), kSuccess);
}

} // namespace
