#include "http/http_request.h"

#include "io/output_file.h"
#include "support/files.h"
#include "support/seam.h"

#include <cstdlib>
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
ZELSYS_SEAM(L"kernel32.dll", WriteFile)
ZELSYS_SEAM(L"kernel32.dll", SetFilePointer)

namespace {

using http::CHttpRequest;

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

class HttpRequest : public testing::Test {
protected:
    ~HttpRequest() override { testing_support::restoreSeams(); }
    HttpRequest() {
        request.setProxy(
            {.host = "127.0.0.1", .port = static_cast<std::uint32_t>(std::atoi(std::getenv("PORT_PLAIN")))});
    }

    /// Returns "error/stage" of the result and "error/stage/failed" of the error record.
    std::string execute(const std::wstring& path, std::int64_t expectedLength = 0,
                        io::CIStreamBase* input = nullptr) {
        http::TResult result{1, 1};
        const std::wstring url = path.starts_with(L"/") ? L"http://some.example:81" + path : path;
        request.Execute(result, url, input != nullptr ? L"POST" : L"GET", input, &output, expectedLength);
        EXPECT_FALSE(request.isBusy());
        const auto error = request.error();
        return std::to_string(result.error) + "/" + std::to_string(result.stage) + " " +
               std::to_string(error.error) + "/" + std::to_string(error.stage) + "/" +
               std::to_string(error.failed);
    }

    CHttpRequest request;
    Output output;
};

TEST_F(HttpRequest, EachFailedCallHasItsStage) {
    request.setExtraHeaders(L"X-Extra: 1");
    request.setCredentials({L"user", L"password", {}});
    EXPECT_EQ(execute(L"/echo"), "4317/14110 4317/14110/0") << "before the send, no scheme is known";
    WinHttpQueryAuthSchemesSeam::fake = [](HINTERNET, DWORD*, DWORD* first, DWORD* target) {
        *first = WINHTTP_AUTH_SCHEME_BASIC;
        *target = WINHTTP_AUTH_TARGET_SERVER;
        return TRUE;
    };
    request.setRedirectPolicy(http::redirect::TRedirectPolicy::always);
    const auto expect = [&](const char* outcome, auto failing) {
        Input input("body");
        failing.failWith(5);
        EXPECT_EQ(execute(L"/echo", 0, &input), outcome);
        EXPECT_EQ(failing.calls, 1) << outcome;
        failing.restore();
    };
    expect("5/14104 5/14104/0", WinHttpOpenSeam());
    expect("5/14119 5/14119/1", WinHttpSetTimeoutsSeam());
    expect("5/14105 5/14105/0", WinHttpConnectSeam());
    expect("5/14106 5/14106/0", WinHttpOpenRequestSeam());
    expect("5/14107 5/14107/0", WinHttpAddRequestHeadersSeam());
    expect("5/14111 5/14111/0", WinHttpSetCredentialsSeam());
    expect("5/14112 5/14112/0", WinHttpSetOptionSeam());
    expect("5/14113 5/14113/0", WinHttpSendRequestSeam());
    expect("5/14115 5/14115/1", WinHttpWriteDataSeam());
    expect("5/14114 5/14114/0", WinHttpReceiveResponseSeam());
    expect("5/14116 5/14116/0", WinHttpQueryDataAvailableSeam());
    expect("5/14117 5/14117/0", WinHttpReadDataSeam());

    request.setCredentials({L"user", {}, {}});
    EXPECT_EQ(execute(L"nonsense"), "12006/14102 12006/14102/1");
    EXPECT_EQ(execute(L"http:///x"), "87/14103 87/14103/1");
    output.most = 1;
    EXPECT_EQ(execute(L"/echo"), "112/14118 112/14118/1");
}

TEST_F(HttpRequest, SendIsRepeatedOnTimeOutOnly) {
    SleepSeam::fake = [](DWORD time) { EXPECT_EQ(time, 100u); };
    int failures = 2;
    WinHttpSendRequestSeam::fake = [&failures](auto... arguments) {
        SetLastError(12002);
        return failures-- > 0 ? FALSE : WinHttpSendRequestSeam::real(arguments...);
    };
    EXPECT_EQ(execute(L"/echo"), "0/0 0/0/0");
    EXPECT_EQ(SleepSeam::calls, 2);
    failures = 17;
    EXPECT_EQ(execute(L"/echo"), "12002/14113 12002/14113/0");
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(SleepSeam::calls, 2 + 16);
}

TEST_F(HttpRequest, UploadsInChunks) {
    const std::string body(200'000, 'u');
    Input input(body);
    request.setThrottle(7);
    request.setExtraHeaders(L"Content-Type: text/u\r\nX-Extra: 1");
    SleepSeam::fake = [](DWORD time) { EXPECT_EQ(time, 7u); };
    EXPECT_EQ(execute(L"HTTP://Some.Example:81/echo?q", 0, &input), "0/0 0/0/0");
    EXPECT_EQ(SleepSeam::calls, 4);
    EXPECT_TRUE(output.bytes == "POST some.example:80 /echo?q text/u " + body) << output.bytes.substr(0, 100);
    EXPECT_EQ(request.progress().uploaded, 200'000);
    EXPECT_EQ(request.progress().inputSize, 200'000);
}

TEST_F(HttpRequest, FollowsRedirectsAndSignsInToTheProxy) {
    EXPECT_EQ(execute(L"HTTPS://secure.example:99/echo"), "0/0 0/0/0");
    EXPECT_EQ(execute(L"/to/302/https%3A%2F%2Fsecure.example%2Fecho"), "0/0 0/0/0");
    request.setRedirectPolicy(http::redirect::TRedirectPolicy::always);
    EXPECT_EQ(execute(L"https://secure.example/to/302/http%3A%2F%2Fsome.example%2Fecho"), "0/0 0/0/0");
    EXPECT_EQ(execute(L"/useragent"), "0/0 0/0/0");
    request.setProxy({.host = "127.0.0.1",
                      .port = static_cast<std::uint32_t>(std::atoi(std::getenv("PORT_GUARDED"))),
                      .user = L"user",
                      .password = L"pass:word"});
    EXPECT_EQ(execute(L"/echo"), "0/0 0/0/0");
    EXPECT_EQ(output.bytes, "GET secure.example:443 /echo None GET secure.example:443 /echo None "
                            "GET some.example:80 /echo None "
                            "Mozilla/5.0 (Windows NT 6.1; rv:13.0) Gecko/20100101 Firefox/13.0.1"
                            "GET some.example:80 /echo None ");
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
    EXPECT_EQ(execute(L"/file/200000/x"), "0/0 0/0/0");
    EXPECT_EQ(output.bytes.size(), 200'000u);
}

TEST_F(HttpRequest, CapturesHeaders) {
    request.setRedirectPolicy(http::redirect::TRedirectPolicy::never);
    EXPECT_EQ(execute(L"/headers"), "0/0 0/0/0");
    const auto response = request.response();
    EXPECT_EQ(response.statusCode, 302u);
    EXPECT_EQ(response.cookies, L"a=1\r\nb=2");
    EXPECT_EQ(response.contentType + L" " + response.contentEncoding + L" " + response.location,
              L"text/x none /x");
    EXPECT_EQ(response.length, 4) << "the sum of the announced and the received length";
    EXPECT_GT(request.rawHeaders().size(), 70'000u);
    EXPECT_TRUE(request.rawHeaders().starts_with(L"HTTP/1.1 302 Found\r\n"));
}

TEST_F(HttpRequest, ShortBodyIsReportedInTheErrorRecordOnly) {
    EXPECT_EQ(execute(L"/short", 10), "0/0 0/14121/0");
    EXPECT_EQ(request.downloaded(), 5);
    EXPECT_EQ(execute(L"/short"), "0/0 0/0/0") << "no length is expected";
    WinHttpReadDataSeam::fake = [](HINTERNET, void*, DWORD, DWORD* count) {
        *count = 0;
        return TRUE;
    };
    EXPECT_EQ(execute(L"/short", 10), "0/0 0/14122/0");
    WinHttpReadDataSeam::restore();
    output.bytes.clear();
    EXPECT_EQ(execute(L"/file/100000/x", 10), "0/0 0/0/0");
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
    EXPECT_EQ(execute(L"/trickle", 20), "0/0 0/14120/0");
    canceller.join();

    WinHttpSetTimeoutsSeam::fake = [&](auto... arguments) { // before the reply
        canceller = std::thread([this] { EXPECT_EQ(request.Cancel(), 0u); });
        return WinHttpSetTimeoutsSeam::real(arguments...);
    };
    EXPECT_EQ(execute(L"/late"), "0/0 0/0/0");
    canceller.join();
    WinHttpSetTimeoutsSeam::restore();
    EXPECT_EQ(execute(L"/echo"), "0/0 0/0/0");
}

TEST(OutputFile, AppendsAndReportsFailures) {
    const testing_support::TemporaryFolder folder;
    io::COStreamFile file;
    const auto write = [&file](std::string_view text) { // returns "count/error"
        const auto count = file.Write(text.data(), static_cast<std::uint32_t>(text.size()));
        return std::to_string(count) + "/" + std::to_string(file.GetLastError());
    };
    EXPECT_EQ(write("x"), "0/10") << "not open";
    ASSERT_EQ(file.open(folder / L"f"), 0u);
    EXPECT_EQ(file.open(folder / L"f"), 183u);
    EXPECT_EQ(file.Write(nullptr, 5) + file.Write("abc", 0), 0u);
    EXPECT_EQ(file.Put('a'), 1u);
    WriteFileSeam::fake = [](HANDLE handle, const void* bytes, DWORD count, auto... rest) {
        return WriteFileSeam::real(handle, bytes, std::min(count, 2ul), rest...);
    };
    EXPECT_EQ(write("bcd"), "3/0");
    EXPECT_EQ(testing_support::readBytes(folder / L"f"), "abcb") << "the retry starts at the first byte";
    WriteFileSeam::failWith(ERROR_DISK_FULL);
    EXPECT_EQ(write("x"), "0/112");
    SetFilePointerSeam::fake = [](auto...) { return SetLastError(ERROR_SEEK), INVALID_SET_FILE_POINTER; };
    EXPECT_EQ(write("x"), "0/25");
    testing_support::restoreSeams();
}

} // namespace
