#include "http/http_request.h"

#include "text/wide.h"
#include "win32/event.h"

#include <algorithm>
#include <cwctype>

namespace http {
namespace {

constexpr wchar_t kUserAgent[] = L"Mozilla/5.0 (Windows NT 6.1; rv:13.0) Gecko/20100101 Firefox/13.0.1";
constexpr DWORD kCancelInterval = 50; // milliseconds
constexpr INTERNET_PORT kHttpPort = 80, kHttpsPort = 443;

/// Returns true if a failure at this stage sets `_TDownloadError::failed`. The selection follows no rule, but
/// callers depend on it.
bool marksFailed(Stage stage) {
    return stage == kStageCrackUrl || stage == kStageHostName || stage == kStageWriteData ||
           stage == kStageOutput || stage == kStageTimeouts;
}

std::wstring lowered(const wchar_t* text, DWORD length) {
    std::wstring lower(text, length);
    std::ranges::transform(lower, lower.begin(),
                           [](wchar_t c) { return static_cast<wchar_t>(std::towlower(c)); });
    return lower;
}

/// Returns "host:port" for WinHttpOpen. Converts the host from the ANSI code page.
std::wstring proxyName(const web::TNetProxy& proxy) {
    std::wstring name;
    text::codePageToUtf16(proxy.host, CP_ACP, name);
    return name + L":" + text::decimal(proxy.port);
}

} // namespace

CHttpRequest::CHttpRequest() : idle_(win32::makeEvent(win32::EventState::set)) {
}

void CHttpRequest::Execute(TResult& result, const std::wstring& url, const std::wstring& verb,
                           io::CIStreamBase* input, io::COStreamBase<char>* output,
                           std::int64_t expectedLength) noexcept {
    try {
        Exchange exchange{.result = result,
                          .url = url,
                          .verb = verb,
                          .input = input,
                          .output = output,
                          .expectedLength = expectedLength};
        begin(exchange);
        if (crackUrl(exchange) && openSession(exchange) && openRequest(exchange) && configure(exchange) &&
            send(exchange) && upload(exchange) && receive(exchange) && output != nullptr)
            download(exchange);
    } catch (...) {
        result = {ERROR_NOT_ENOUGH_MEMORY, kStageOpenRequest};
        recordError(result.error, kStageOpenRequest);
    }
    finish();
}

void CHttpRequest::forceCancel() {
    askToCancel();
    closeHandles();
}

std::uint32_t CHttpRequest::Cancel() {
    askToCancel();
    DWORD idle = WaitForSingleObject(idle_.get(), kCancelGrace);
    while (idle == WAIT_TIMEOUT) {
        // Repeated, since an exchange that begins clears the cancel flag.
        forceCancel();
        idle = WaitForSingleObject(idle_.get(), kCancelInterval);
    }
    return SetEvent(idle_.get()) ? 0 : GetLastError();
}

void CHttpRequest::clearProgress() {
    progress_.set({});
}

void CHttpRequest::begin(Exchange& exchange) {
    ResetEvent(idle_.get());
    busy_.set(true);
    cancelled_.set(false);
    error_.set({});
    progress_.set({.expectedLength = exchange.expectedLength});
    response_.set(_TResponseData());
    rawHeaders_.set({});
    exchange.result = {};
}

void CHttpRequest::finish() {
    closeHandles();
    busy_.set(false);
    SetEvent(idle_.get());
}

bool CHttpRequest::crackUrl(Exchange& exchange) {
    URL_COMPONENTS parts{};
    parts.dwStructSize = sizeof parts;
    parts.dwSchemeLength = parts.dwHostNameLength = parts.dwUrlPathLength = parts.dwExtraInfoLength =
        static_cast<DWORD>(-1);
    if (!WinHttpCrackUrl(exchange.url.c_str(), static_cast<DWORD>(exchange.url.size()), 0, &parts)) {
        fail(exchange, GetLastError(), kStageCrackUrl);
        return false;
    }
    if (parts.dwHostNameLength == 0) {
        fail(exchange, ERROR_INVALID_PARAMETER, kStageHostName);
        return false;
    }
    exchange.scheme = lowered(parts.lpszScheme, parts.dwSchemeLength);
    exchange.host = lowered(parts.lpszHostName, parts.dwHostNameLength);
    exchange.pathAndExtra.assign(parts.lpszUrlPath, parts.dwUrlPathLength);
    exchange.pathAndExtra.append(parts.lpszExtraInfo, parts.dwExtraInfoLength);
    return true;
}

bool CHttpRequest::openSession(Exchange& exchange) {
    exchange.proxy = proxy_.get();
    exchange.session = keep(
        &THttpConnectionHandles::session,
        win32::WinHttpHandle(exchange.proxy.isUsed()
                                 ? WinHttpOpen(kUserAgent, WINHTTP_ACCESS_TYPE_NAMED_PROXY,
                                               proxyName(exchange.proxy).c_str(), WINHTTP_NO_PROXY_BYPASS, 0)
                                 : WinHttpOpen(kUserAgent, WINHTTP_ACCESS_TYPE_NO_PROXY,
                                               WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS, 0)));
    if (!goesOn(exchange, exchange.session != nullptr, kStageOpenSession))
        return false;
    const TTimeouts timeouts = timeouts_.get();
    return goesOn(exchange,
                  WinHttpSetTimeouts(exchange.session, timeouts.resolve, timeouts.connect, timeouts.send,
                                     timeouts.receive),
                  kStageTimeouts);
}

bool CHttpRequest::openRequest(Exchange& exchange) {
    exchange.connect =
        keep(&THttpConnectionHandles::connect,
             win32::WinHttpHandle(WinHttpConnect(exchange.session, exchange.host.c_str(),
                                                 exchange.isSecure() ? kHttpsPort : kHttpPort, 0)));
    if (!goesOn(exchange, exchange.connect != nullptr, kStageConnect))
        return false;
    exchange.request = keep(&THttpConnectionHandles::request,
                            win32::WinHttpHandle(WinHttpOpenRequest(
                                exchange.connect, exchange.verb.c_str(), exchange.pathAndExtra.c_str(),
                                nullptr, WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES,
                                exchange.isSecure() ? WINHTTP_FLAG_SECURE : 0)));
    return goesOn(exchange, exchange.request != nullptr, kStageOpenRequest);
}

bool CHttpRequest::configure(Exchange& exchange) {
    const std::wstring headers = requestData_.get().headers;
    if (!headers.empty() &&
        !goesOn(exchange,
                WinHttpAddRequestHeaders(exchange.request, headers.c_str(),
                                         static_cast<DWORD>(headers.size()), WINHTTP_ADDREQ_FLAG_ADD),
                kStageAddHeaders))
        return false;

    const auto setProxyText = [&](DWORD option, std::wstring& text) {
        if (!text.empty())
            WinHttpSetOption(exchange.request, option, text.data(), static_cast<DWORD>(text.size()));
    };
    if (exchange.proxy.isUsed() && !exchange.proxy.user.empty()) {
        setProxyText(WINHTTP_OPTION_PROXY_USERNAME, exchange.proxy.user);
        setProxyText(WINHTTP_OPTION_PROXY_PASSWORD, exchange.proxy.password);
    }
    return applyCredentials(exchange) && applyRedirectPolicy(exchange);
}

bool CHttpRequest::applyCredentials(Exchange& exchange) {
    const web::TNetCredentials credentials = credentials_.get();
    if (credentials.user.empty() || credentials.password.empty())
        return true;
    // WinHttpQueryAuthSchemes fails on a request that was not sent. Callers depend on this order of calls.
    DWORD supported = 0, first = 0, target = 0;
    return goesOn(exchange, WinHttpQueryAuthSchemes(exchange.request, &supported, &first, &target),
                  kStageQueryAuthSchemes) &&
           goesOn(exchange,
                  WinHttpSetCredentials(exchange.request, target, first, credentials.user.c_str(),
                                        credentials.password.c_str(), nullptr),
                  kStageSetCredentials);
}

bool CHttpRequest::applyRedirectPolicy(Exchange& exchange) {
    DWORD value = 0;
    switch (redirectPolicy_.get()) {
    case redirect::TRedirectPolicy::never:
        value = WINHTTP_OPTION_REDIRECT_POLICY_NEVER;
        break;
    case redirect::TRedirectPolicy::always:
        value = WINHTTP_OPTION_REDIRECT_POLICY_ALWAYS;
        break;
    default:
        return true;
    }
    return goesOn(exchange,
                  WinHttpSetOption(exchange.request, WINHTTP_OPTION_REDIRECT_POLICY, &value, sizeof value),
                  kStageRedirectPolicy);
}

/// Checks the outcome of a WinHTTP call. Call it directly after that call: it reads GetLastError. Records no
/// error for a cancelled exchange, whose calls fail because its handles are closed.
/// \return True if the exchange continues.
bool CHttpRequest::goesOn(Exchange& exchange, bool succeeded, Stage stage) {
    const DWORD error = succeeded ? ERROR_SUCCESS : GetLastError();
    if (cancelled_.get())
        return false;
    if (!succeeded)
        fail(exchange, error, stage);
    return succeeded;
}

void CHttpRequest::fail(Exchange& exchange, std::uint32_t error, Stage stage) {
    exchange.result = {error, stage};
    recordError(error, stage);
}

void CHttpRequest::recordError(std::uint32_t error, Stage stage) {
    error_.set({error, stage, marksFailed(stage)});
}

/// Stores a handle where `Cancel` can close it. Returns the raw handle, null for an invalid one.
HINTERNET CHttpRequest::keep(win32::WinHttpHandle THttpConnectionHandles::*which,
                             win32::WinHttpHandle handle) {
    const HINTERNET raw = handle.get();
    if (raw != nullptr)
        handles_.set(which, std::move(handle));
    return raw;
}

void CHttpRequest::closeHandles() {
    handles_.access([](THttpConnectionHandles& handles) {
        handles.request.reset();
        handles.connect.reset();
        handles.session.reset();
    });
}

} // namespace http
