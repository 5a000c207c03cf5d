#include "xferlib/xferlib.h"

#include "text/utf16.h"
#include "text/wide.h"
#include "xferlib/exchange.h"
#include "xferlib/transfer_code.h"

#include <algorithm>
#include <climits>

#include <shlwapi.h>

namespace xferlib {
namespace {

constexpr int kDefaultTimeoutSeconds = 15;
constexpr std::int32_t kHighestPort = 65535, kStatusSeeOther = 303;

int milliseconds(std::int32_t seconds) {
    return static_cast<int>(std::min<long long>(seconds * 1000LL, INT_MAX));
}

/// Returns false if the text is not valid UTF-8.
bool convert(const std::string& narrow, std::wstring& wide) {
    wide = text::utf8ToUtf16(narrow);
    return wide.empty() == narrow.empty();
}

/// Returns the host of a proxy address. Users also enter a URL: "http://proxy/" becomes "proxy".
/// \return Empty if the address has no host, or a "/" without "http://".
std::wstring proxyHost(const std::string& address) {
    constexpr std::wstring_view kScheme = L"http://";
    std::wstring host = text::utf8ToUtf16(address);
    if (_wcsnicmp(host.c_str(), kScheme.data(), kScheme.size()) == 0) {
        host.erase(0, kScheme.size());
        host.resize(std::min(host.find(L'/'), host.size()));
    }
    if (host.find(L'/') != host.npos)
        host.clear(); // often another scheme: WinHTTP connects to proxies by http only
    return host;
}

/// Returns "host:port" for WinHttpOpen; empty if the request names no usable proxy.
std::wstring proxyAddress(const Request& request) {
    const std::wstring host = proxyHost(request.proxyHost);
    if (host.empty() || request.proxyPort < 1 || request.proxyPort > kHighestPort)
        return {};
    const auto colon = host.find(L':');
    const bool isBareIpv6 = colon != host.npos && host.front() != L'[';
    const bool hasPort = isBareIpv6 ? colon == host.rfind(L':') : host.front() == L'[' && host.back() != L']';
    if (hasPort)
        return {}; // the port is a separate setting
    return (isBareIpv6 ? L"[" + host + L"]" : host) + L":" + text::decimal(request.proxyPort);
}

std::wstring headerLines(const Request& request) {
    std::string lines;
    for (const auto& line : request.headers)
        lines.append(line).append("\r\n");
    return text::utf8ToUtf16(lines);
}

/// Returns the absolute URL of a Location header; empty if UrlCombineW fails.
std::wstring combine(const std::wstring& base, const std::wstring& location) {
    constexpr std::size_t kRoomForJoints = 32;
    std::wstring target(base.size() + location.size() + kRoomForJoints, L'\0');
    DWORD size = static_cast<DWORD>(target.size());
    if (FAILED(UrlCombineW(base.c_str(), location.c_str(), target.data(), &size, 0)))
        return {};
    target.resize(size);
    return target;
}

/// Points the hop at the target of a redirect.
/// \return kOk; kMalformedUrl if UrlCombineW fails.
TransferCode follow(const HopReply& reply, Hop& hop) {
    const std::wstring target = combine(hop.url, reply.location);
    if (target.empty())
        return kMalformedUrl;
    hop.url = target;
    hop.mustBeSecure = reply.isSecure;
    if (reply.response.status == kStatusSeeOther) {
        hop.post = false;
        hop.body = nullptr;
        hop.headers = nullptr; // the headers describe the body
    }
    return kOk;
}

Response attempt(const Request& request, const std::wstring& headers, const std::wstring& address,
                 ProxySignIn& proxy, const Deadline& deadline) {
    const Session session = openSession(address);
    if (!session)
        return {.code = transferCode(GetLastError(), kInitFailed)};

    Hop hop{.url = text::utf8ToUtf16(request.url),
            .post = request.post,
            .body = request.post ? &request.body : nullptr,
            .headers = &headers,
            .proxy = &proxy,
            .connectTimeout = request.connectTimeoutSeconds > 0 ? milliseconds(request.connectTimeoutSeconds)
                                                                : deadline.remaining()};
    for (std::int32_t redirects = 0;; ++redirects) {
        HopReply reply = exchange(session, hop, deadline);
        if (reply.response.code != kOk || reply.location.empty())
            return reply.response;
        reply.response.code = redirects < request.redirectLimit ? follow(reply, hop) : kTooManyRedirects;
        if (reply.response.code != kOk)
            return reply.response;
    }
}

} // namespace

std::int32_t init() {
    return WinHttpCheckPlatform() ? kOk : kInitFailed;
}

Response fetch(const Request& request) {
    const Deadline deadline(
        milliseconds(request.timeoutSeconds > 0 ? request.timeoutSeconds : kDefaultTimeoutSeconds));
    const std::wstring headers = headerLines(request);
    const std::wstring address = proxyAddress(request);
    // An unusable proxy must not turn the request into a direct connection.
    if (address.empty() && !request.proxyHost.empty())
        return {.code = kProxyNotResolved};
    std::wstring user, password;
    // Without a proxy, a 407 comes from the host, which must not receive the proxy's credentials.
    if (!address.empty() && (!convert(request.proxyUser, user) || !convert(request.proxyPassword, password)))
        return {.code = kLoginDenied};
    ProxySignIn proxy(address, std::move(user), std::move(password));
    Response response;
    for (std::int32_t attempts = 0; attempts == 0 || attempts < request.attempts; ++attempts) {
        response = attempt(request, headers, address, proxy, deadline);
        if (response.code == kOk || response.status == kStatusProxyAuthentication || deadline.isOver())
            break;
    }
    // With a proxy, this computer resolves the proxy's name only.
    if (response.code == kHostNotResolved && !request.proxyHost.empty())
        response.code = kProxyNotResolved;
    return response;
}

} // namespace xferlib
