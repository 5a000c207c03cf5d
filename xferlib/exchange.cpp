#include "xferlib/exchange.h"

#include "xferlib/transfer_code.h"

#include <climits>
#include <optional>

namespace xferlib {
namespace {

using win32::WinHttpHandle;

constexpr DWORD kStatusProxyAuthentication = 407;
constexpr int kMostSends = 3; // the first one, one with credentials, one that WinHTTP itself asks for

struct Address {
    std::wstring host;
    std::wstring pathAndQuery;
    INTERNET_PORT port = 0;
    bool secure = false;
};

TransferCode crack(const std::wstring& url, Address& address) {
    URL_COMPONENTS parts{};
    parts.dwStructSize = sizeof parts;
    parts.dwHostNameLength = parts.dwUrlPathLength = static_cast<DWORD>(-1);
    if (url.empty())
        return kMalformedUrl;
    if (!WinHttpCrackUrl(url.c_str(), 0, 0, &parts))
        return transferCode(GetLastError(), kMalformedUrl);
    if (parts.dwHostNameLength == 0)
        return kMalformedUrl;
    address.host.assign(parts.lpszHostName, parts.dwHostNameLength);
    // Without a length for it, the query is part of the path; what follows "#" never leaves the client.
    address.pathAndQuery.assign(parts.lpszUrlPath, parts.dwUrlPathLength);
    address.pathAndQuery.resize(std::min(address.pathAndQuery.find(L'#'), address.pathAndQuery.size()));
    address.port = parts.nPort;
    address.secure = parts.nScheme == INTERNET_SCHEME_HTTPS;
    return kOk;
}

bool setOption(const WinHttpHandle& handle, DWORD option, DWORD value) {
    return WinHttpSetOption(handle.get(), option, &value, sizeof value) != FALSE;
}

bool setProxyCredentials(const WinHttpHandle& request, const Hop& hop, DWORD scheme) {
    return WinHttpSetCredentials(request.get(), WINHTTP_AUTH_TARGET_PROXY, scheme, hop.proxyUser.c_str(),
                                 hop.proxyPassword.c_str(), nullptr) != FALSE;
}

bool configure(const WinHttpHandle& request, const Hop& hop, const Deadline& deadline) {
    const int time = deadline.remaining();
    // Redirects are followed by the caller, who holds the deadline, the limit and the rule on https.
    return WinHttpSetTimeouts(request.get(), time, std::min(time, hop.connectTimeout), time, time) &&
           setOption(request, WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT, static_cast<DWORD>(time)) &&
           setOption(request, WINHTTP_OPTION_DISABLE_FEATURE,
                     WINHTTP_DISABLE_REDIRECTS | WINHTTP_DISABLE_COOKIES) &&
           (hop.proxyUser.empty() || setProxyCredentials(request, hop, WINHTTP_AUTH_SCHEME_BASIC));
}

std::optional<DWORD> numberHeader(const WinHttpHandle& request, DWORD header) {
    DWORD number = 0;
    DWORD size = sizeof number;
    if (!WinHttpQueryHeaders(request.get(), header | WINHTTP_QUERY_FLAG_NUMBER, WINHTTP_HEADER_NAME_BY_INDEX,
                             &number, &size, WINHTTP_NO_HEADER_INDEX))
        return std::nullopt;
    return number;
}

std::wstring locationHeader(const WinHttpHandle& request) {
    const auto query = [&](void* out, DWORD& size) {
        return WinHttpQueryHeaders(request.get(), WINHTTP_QUERY_LOCATION, WINHTTP_HEADER_NAME_BY_INDEX, out,
                                   &size, WINHTTP_NO_HEADER_INDEX);
    };
    DWORD size = 0;
    if (query(nullptr, size) || GetLastError() != ERROR_INSUFFICIENT_BUFFER)
        return {};
    std::wstring value(size / sizeof(wchar_t), L'\0');
    if (!query(value.data(), size))
        return {};
    value.resize(size / sizeof(wchar_t));
    return value;
}

/// After a refusal by the proxy: takes the strongest way to sign in that it offers.
bool answerProxy(const WinHttpHandle& request, const Hop& hop) {
    DWORD supported = 0, first = 0, target = 0;
    if (!WinHttpQueryAuthSchemes(request.get(), &supported, &first, &target) ||
        target != WINHTTP_AUTH_TARGET_PROXY)
        return false;
    for (const DWORD scheme : {WINHTTP_AUTH_SCHEME_NEGOTIATE, WINHTTP_AUTH_SCHEME_NTLM,
                               WINHTTP_AUTH_SCHEME_DIGEST, WINHTTP_AUTH_SCHEME_BASIC})
        if ((supported & scheme) != 0)
            return setProxyCredentials(request, hop, scheme);
    return false;
}

TransferCode sendOnce(const WinHttpHandle& request, const Hop& hop) {
    const bool hasHeaders = hop.headers != nullptr && !hop.headers->empty();
    const auto size = hop.body != nullptr ? static_cast<DWORD>(hop.body->size()) : 0;
    // WinHTTP only reads the body, though its parameter is not const.
    void* body = size != 0 ? const_cast<char*>(hop.body->data()) : WINHTTP_NO_REQUEST_DATA;
    if (!WinHttpSendRequest(request.get(), hasHeaders ? hop.headers->c_str() : WINHTTP_NO_ADDITIONAL_HEADERS,
                            hasHeaders ? static_cast<DWORD>(-1) : 0, body, size, size, 0))
        return transferCode(GetLastError(), kSendFailed);
    return kOk;
}

/// Sends until a reply other than a call for credentials stands in the request.
TransferCode sendAndReceive(const WinHttpHandle& request, const Hop& hop, const Deadline& deadline,
                            Response& response) {
    bool answered = hop.proxyUser.empty();
    for (int sends = 0; sends < kMostSends; ++sends) {
        if (deadline.isOver())
            return kTimedOut;
        if (const auto code = sendOnce(request, hop))
            return code;
        if (!WinHttpReceiveResponse(request.get(), nullptr)) {
            const DWORD error = GetLastError();
            if (error == ERROR_WINHTTP_RESEND_REQUEST)
                continue;
            return transferCode(error, kReceiveFailed);
        }
        const auto status = numberHeader(request, WINHTTP_QUERY_STATUS_CODE);
        if (!status)
            return kReceiveFailed;
        response.status = static_cast<std::int32_t>(*status);
        if (*status != kStatusProxyAuthentication || answered || !answerProxy(request, hop))
            return kOk;
        answered = true;
    }
    return kOk;
}

TransferCode readBody(const WinHttpHandle& request, const Deadline& deadline, std::string& body) {
    for (;;) {
        if (deadline.isOver())
            return kTimedOut;
        setOption(request, WINHTTP_OPTION_RECEIVE_TIMEOUT, static_cast<DWORD>(deadline.remaining()));
        DWORD available = 0;
        if (!WinHttpQueryDataAvailable(request.get(), &available))
            return transferCode(GetLastError(), kReceiveFailed);
        if (available == 0)
            break;
        const std::size_t had = body.size();
        if (available > kLargestBody - had)
            return kBodyTooLarge;
        body.resize(had + available);
        DWORD got = 0;
        if (!WinHttpReadData(request.get(), body.data() + had, available, &got))
            return transferCode(GetLastError(), kReceiveFailed);
        body.resize(had + got);
        if (got == 0)
            break;
    }
    // A connection that ends too early looks like the end of the body otherwise.
    const auto announced = numberHeader(request, WINHTTP_QUERY_CONTENT_LENGTH);
    return announced && body.size() < *announced ? kPartialBody : kOk;
}

TransferCode run(const Session& session, const Hop& hop, const Deadline& deadline, HopReply& reply) {
    if (hop.body != nullptr && hop.body->size() > MAXDWORD)
        return kSendFailed;
    Address address;
    if (const auto code = crack(hop.url, address))
        return code;
    const WinHttpHandle connection(WinHttpConnect(session->get(), address.host.c_str(), address.port, 0));
    if (!connection)
        return transferCode(GetLastError(), kCannotConnect);
    const WinHttpHandle request(WinHttpOpenRequest(
        connection.get(), hop.post ? L"POST" : L"GET", address.pathAndQuery.c_str(), nullptr,
        WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES, address.secure ? WINHTTP_FLAG_SECURE : 0));
    if (!request || !configure(request, hop, deadline))
        return transferCode(GetLastError(), kInitFailed);
    if (const auto code = sendAndReceive(request, hop, deadline, reply.response))
        return code;
    reply.location = locationHeader(request);
    return readBody(request, deadline, reply.response.body);
}

} // namespace

HopReply exchange(const Session& session, const Hop& hop, const Deadline& deadline) {
    HopReply reply;
    reply.response.code = run(session, hop, deadline, reply);
    return reply;
}

bool isSecure(const std::wstring& url) {
    Address address;
    return crack(url, address) == kOk && address.secure;
}

} // namespace xferlib
