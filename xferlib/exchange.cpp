#include "xferlib/exchange.h"

#include "text/trim.h"
#include "win32/winhttp_headers.h"
#include "xferlib/async_request.h"
#include "xferlib/transfer_code.h"

#include <algorithm>

namespace xferlib {
namespace {

using win32::WinHttpHandle;

constexpr std::int32_t kStatusNoContent = 204, kStatusNotModified = 304;
constexpr int kMostSends = 32; // more than any handshake needs; stops an endless one

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
    // With dwExtraInfoLength 0, WinHttpCrackUrl leaves query and fragment in the path. A request must not
    // contain the fragment.
    address.pathAndQuery.assign(parts.lpszUrlPath, parts.dwUrlPathLength);
    address.pathAndQuery.resize(std::min(address.pathAndQuery.find(L'#'), address.pathAndQuery.size()));
    address.port = parts.nPort;
    address.secure = parts.nScheme == INTERNET_SCHEME_HTTPS;
    return kOk;
}

bool addHeaders(HINTERNET request, const std::wstring& lines) {
    // Headers passed to WinHttpSendRequest are added again with each send.
    return lines.empty() || WinHttpAddRequestHeaders(request, lines.c_str(), static_cast<DWORD>(lines.size()),
                                                     WINHTTP_ADDREQ_FLAG_ADD | WINHTTP_ADDREQ_FLAG_REPLACE);
}

bool setOption(HINTERNET request, DWORD option, DWORD value) {
    return WinHttpSetOption(request, option, &value, sizeof value) != FALSE;
}

bool configure(HINTERNET request, const Hop& hop, const Deadline& deadline) {
    // Without this option, a server that requests an optional client certificate fails the request with
    // ERROR_WINHTTP_CLIENT_AUTH_CERT_NEEDED. Best effort: it can fail for an http request.
    WinHttpSetOption(request, WINHTTP_OPTION_CLIENT_CERT_CONTEXT, WINHTTP_NO_CLIENT_CERT_CONTEXT, 0);
    const int time = deadline.remaining();
    // The caller follows redirects: it enforces the limit and sets `mustBeSecure` after a hop over https.
    return WinHttpSetTimeouts(request, time, std::min(time, hop.connectTimeout), time, time) &&
           setOption(request, WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT, static_cast<DWORD>(time)) &&
           setOption(request, WINHTTP_OPTION_DISABLE_FEATURE,
                     WINHTTP_DISABLE_REDIRECTS | WINHTTP_DISABLE_COOKIES);
}

TransferCode readToEnd(AsyncRequest& request, std::string& body) {
    // WinHTTP reuses the connection only after a read of 0 bytes, even if the length is known.
    for (std::size_t had = 0;; had = body.size()) {
        if (const DWORD error = request.readPart(body))
            return transferCode(error, kReceiveFailed);
        if (body.size() > kLargestBody)
            return kBodyTooLarge;
        if (body.size() == had)
            return kOk;
    }
}

/// Returns true if the TLS handshake of the request has completed. A proxy's reply to CONNECT precedes it.
bool isEncrypted(HINTERNET request) {
    // Before the handshake the query can succeed without returning a certificate.
    WINHTTP_CERTIFICATE_INFO certificate{};
    DWORD size = sizeof certificate;
    if (!WinHttpQueryOption(request, WINHTTP_OPTION_SECURITY_CERTIFICATE_STRUCT, &certificate, &size))
        certificate = {};
    const bool hasCertificate = certificate.lpszIssuerInfo != nullptr;
    LocalFree(certificate.lpszSubjectInfo);
    LocalFree(certificate.lpszIssuerInfo);
    DWORD keyBits = 0;
    size = sizeof keyBits;
    if (!WinHttpQueryOption(request, WINHTTP_OPTION_SECURITY_KEY_BITNESS, &keyBits, &size))
        keyBits = 0;
    return hasCertificate || keyBits != 0;
}

/// Prepares a request that was answered with 407 for its next send with the proxy's credentials.
/// \return kReceiveFailed if no credentials can be sent; otherwise the result of reading the body.
TransferCode signIn(AsyncRequest& request, ProxySignIn& proxy) {
    // WinHTTP attributes every 407 to the proxy. Inside a tunnel a 407 comes from the host, which would
    // receive the credentials. A final 407 is a failure: with code 0, callers would mistake its body for the
    // host's reply.
    if (isEncrypted(request.get()) || !proxy.answerRefusal(request.get()))
        return kReceiveFailed;
    // NTLM and Negotiate authenticate the connection, so the next send must reuse it.
    std::string page;
    return readToEnd(request, page);
}

/// Sends the request, and repeats it with credentials after each 407, until the reply has another status.
TransferCode sendAndReceive(AsyncRequest& request, const Hop& hop, Response& response) {
    static const std::string kNoBody;
    for (int sends = 0; sends < kMostSends; ++sends) {
        // Both calls can fail with ERROR_WINHTTP_RESEND_REQUEST during a handshake, for example of NTLM.
        DWORD error = request.send(hop.body != nullptr ? *hop.body : kNoBody);
        if (error != 0 && error != ERROR_WINHTTP_RESEND_REQUEST)
            return transferCode(error, kSendFailed);
        if (error == 0)
            error = request.receiveResponse();
        if (error == ERROR_WINHTTP_RESEND_REQUEST)
            continue;
        if (error != 0)
            return transferCode(error, kReceiveFailed);
        const auto status = win32::numberHeader(request.get(), WINHTTP_QUERY_STATUS_CODE);
        if (!status)
            return kReceiveFailed;
        response.status = static_cast<std::int32_t>(*status);
        if (response.status != kStatusProxyAuthentication)
            return kOk;
        if (const auto code = signIn(request, *hop.proxy))
            return code;
    }
    return kReceiveFailed;
}

/// Returns true if the body is chunked. Content-Length does not apply to such a body.
bool isChunked(HINTERNET request) {
    std::wstring coding = win32::textHeader(request, WINHTTP_QUERY_TRANSFER_ENCODING).value_or(L"");
    coding.erase(0, coding.find_last_of(L',') + 1); // the last coding frames the message; npos + 1 is 0
    return _wcsicmp(text::trimmed(coding).c_str(), L"chunked") == 0;
}

TransferCode readBody(AsyncRequest& request, Response& response) {
    if (const auto code = readToEnd(request, response.body))
        return code;
    // WinHttpReadData reports a broken connection as the end of the body.
    const bool hasLength = response.status != kStatusNoContent && response.status != kStatusNotModified &&
                           !isChunked(request.get());
    const auto announced = win32::numberHeader(request.get(), WINHTTP_QUERY_CONTENT_LENGTH);
    return hasLength && announced && response.body.size() < *announced ? kPartialBody : kOk;
}

bool isRedirect(std::int32_t status) {
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

TransferCode run(const Session& session, const Hop& hop, const Deadline& deadline, HopReply& reply) {
    if (hop.body != nullptr && hop.body->size() > MAXDWORD)
        return kSendFailed;
    Address address;
    if (const auto code = crack(hop.url, address))
        return code;
    if (hop.mustBeSecure && !address.secure)
        return kUnsupportedScheme;
    reply.isSecure = address.secure;
    const WinHttpHandle connection(WinHttpConnect(session->get(), address.host.c_str(), address.port, 0));
    if (!connection)
        return transferCode(GetLastError(), kCannotConnect);
    AsyncRequest request(WinHttpHandle(WinHttpOpenRequest(connection.get(), hop.post ? L"POST" : L"GET",
                                                          address.pathAndQuery.c_str(), nullptr,
                                                          WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES,
                                                          address.secure ? WINHTTP_FLAG_SECURE : 0)),
                         deadline);
    if (!request.isValid() || !configure(request.get(), hop, deadline) ||
        (hop.headers != nullptr && !addHeaders(request.get(), *hop.headers)))
        return transferCode(GetLastError(), kInitFailed);
    hop.proxy->beginRequest();
    if (const auto code = sendAndReceive(request, hop, reply.response))
        return code;
    if (isRedirect(reply.response.status)) {
        auto location = win32::textHeader(request.get(), WINHTTP_QUERY_LOCATION);
        if (!location && GetLastError() != ERROR_WINHTTP_HEADER_NOT_FOUND)
            return kReceiveFailed; // with code 0, the redirect would count as the host's reply
        reply.location = std::move(location).value_or(L"");
    }
    // The body of a redirect that has a Location header is not used.
    return reply.location.empty() ? readBody(request, reply.response) : kOk;
}

} // namespace

HopReply exchange(const Session& session, const Hop& hop, const Deadline& deadline) {
    HopReply reply;
    reply.response.code = run(session, hop, deadline, reply);
    return reply;
}

} // namespace xferlib
