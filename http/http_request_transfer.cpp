#include "http/http_request.h"

#include "text/trim.h"
#include "win32/winhttp_headers.h"

#include <algorithm>

namespace http {
namespace {

constexpr DWORD kChunk = 65535;
constexpr int kSendAttempts = 17;
constexpr DWORD kSendPause = 100; // milliseconds

std::wstring allCookies(HINTERNET request) {
    std::wstring cookies;
    DWORD index = 0;
    while (const auto cookie = win32::textHeader(request, WINHTTP_QUERY_SET_COOKIE, index)) {
        if (index != 0)
            cookies += L"\r\n";
        cookies += *cookie;
        ++index;
    }
    return cookies;
}

std::int64_t contentLength(const std::wstring& header) {
    return _wtoi64(text::trimmed(header).c_str());
}

} // namespace

bool CHttpRequest::send(Exchange& exchange) {
    std::int64_t total = 0;
    if (exchange.input != nullptr) {
        total = exchange.input->size();
        progress_.set(&TProgress::inputSize, total);
    }
    for (int attempt = 1;; ++attempt) {
        const bool sent = WinHttpSendRequest(exchange.request, WINHTTP_NO_ADDITIONAL_HEADERS, 0,
                                             WINHTTP_NO_REQUEST_DATA, 0, static_cast<DWORD>(total), 0);
        const bool mayRetry = !sent && GetLastError() == ERROR_WINHTTP_TIMEOUT && attempt < kSendAttempts;
        if (!mayRetry || cancelled_.get())
            return goesOn(exchange, sent, kStageSend);
        Sleep(kSendPause);
        if (cancelled_.get())
            return false;
    }
}

bool CHttpRequest::upload(Exchange& exchange) {
    const std::int64_t total = exchange.input != nullptr ? exchange.input->size() : 0;
    if (total < 1)
        return true;
    exchange.buffer.resize(kChunk);
    std::uint32_t sent = 0; // compared with the low 32 bits of the total
    std::uint32_t count = 0;
    while (exchange.input->read(exchange.buffer.data(), kChunk, count)) {
        if (const std::uint32_t pause = throttle_.get(); pause != 0)
            Sleep(pause);
        if (count == 0)
            break;
        if (cancelled_.get())
            return false;
        DWORD written = 0;
        if (!goesOn(exchange, WinHttpWriteData(exchange.request, exchange.buffer.data(), count, &written),
                    kStageWriteData))
            return false;
        progress_.access([&](TProgress& progress) { progress.uploaded += written; });
        sent += written;
        if (sent == static_cast<std::uint32_t>(total))
            break;
    }
    return true;
}

bool CHttpRequest::receive(Exchange& exchange) {
    if (!goesOn(exchange, WinHttpReceiveResponse(exchange.request, nullptr), kStageReceiveResponse))
        return false;
    captureHeaders(exchange);
    return !cancelled_.get();
}

void CHttpRequest::captureHeaders(const Exchange& exchange) {
    const HINTERNET request = exchange.request;
    if (const auto status = win32::numberHeader(request, WINHTTP_QUERY_STATUS_CODE))
        response_.set(&_TResponseData::statusCode, std::uint32_t{*status});
    if (const auto length = win32::textHeader(request, WINHTTP_QUERY_CONTENT_LENGTH))
        response_.set(&_TResponseData::length, contentLength(*length));

    const auto capture = [&](DWORD header, std::wstring _TResponseData::*field) {
        if (auto value = win32::textHeader(request, header))
            response_.set(field, std::move(*value));
    };
    capture(WINHTTP_QUERY_CONTENT_TYPE, &_TResponseData::contentType);
    capture(WINHTTP_QUERY_CONTENT_ENCODING, &_TResponseData::contentEncoding);
    capture(WINHTTP_QUERY_LOCATION, &_TResponseData::location);
    response_.set(&_TResponseData::cookies, allCookies(request));
    if (auto raw = win32::textHeader(request, WINHTTP_QUERY_RAW_HEADERS_CRLF))
        rawHeaders_.set(std::move(*raw));
}

void CHttpRequest::download(Exchange& exchange) {
    exchange.buffer.resize(kChunk);
    for (;;) {
        const std::int64_t downloaded = progress_.get(&TProgress::downloaded);
        const bool isLengthKnown = exchange.expectedLength >= 1;
        if (isLengthKnown && downloaded >= exchange.expectedLength)
            return;
        // Only the error record reports a body that ends too early. The result reports success.
        const auto endEarly = [&](Stage stage) {
            if (isLengthKnown)
                recordError(ERROR_SUCCESS, stage);
        };
        if (!handles_.access([](const auto& handles) { return static_cast<bool>(handles.request); }))
            return endEarly(kStageHandleVanished);

        DWORD available = 0;
        if (!goesOn(exchange, WinHttpQueryDataAvailable(exchange.request, &available),
                    kStageQueryDataAvailable))
            return;
        if (available == 0)
            return endEarly(kStageNoMoreData);
        DWORD count = 0;
        if (!goesOn(exchange,
                    WinHttpReadData(exchange.request, exchange.buffer.data(), std::min(available, kChunk),
                                    &count),
                    kStageReadData))
            return;
        if (count == 0)
            return endEarly(kStageEmptyRead);
        if (!writeOutput(exchange, count))
            return;
    }
}

bool CHttpRequest::writeOutput(Exchange& exchange, std::uint32_t count) {
    const std::uint32_t written = exchange.output->Write(exchange.buffer.data(), count);
    progress_.access([&](TProgress& progress) { progress.downloaded += written; });
    // Callers depend on this sum of announced and written bytes.
    response_.access([&](_TResponseData& response) {
        response.length = static_cast<std::int64_t>(static_cast<std::uint64_t>(response.length) + written);
    });
    if (written == count)
        return true;
    fail(exchange, exchange.output->GetLastError(), kStageOutput);
    return false;
}

} // namespace http
