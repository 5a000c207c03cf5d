#include "event_outcome.h"

#include "console.h"
#include "fs/file_io.h"
#include "win32/path.h"
#include "xferlib/transfer_code.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string_view>

#include <windows.h>

namespace host {
namespace {

struct CodeText {
    std::int32_t code;
    const wchar_t* text;
    const wchar_t* advice;
};

constexpr wchar_t kCheckNetwork[] = L"check the network, the firewall and the proxy of \"common.cfg\"";
constexpr wchar_t kCheckHost[] = L"check the built-in host with \"doctor\"";
constexpr wchar_t kCheckRedirects[] =
    L"check the built-in host with \"doctor\", and the redirects of the host";

constexpr CodeText kCodes[] = {
    {xferlib::kUnsupportedScheme,
     L"the scheme of host or redirect is not http or https, or the host redirects from https to http",
     kCheckRedirects},
    {xferlib::kInitFailed, L"WinHTTP is missing, or failed to open or configure a session or request",
     L"update Windows"},
    {xferlib::kMalformedUrl, L"the URL of host or redirect cannot be parsed", kCheckRedirects},
    {xferlib::kProxyNotResolved, L"the proxy's address cannot be used, or its name cannot be resolved",
     L"check ProxyAddress and ProxyPort in \"common.cfg\""},
    {xferlib::kHostNotResolved, L"the host's name cannot be resolved", kCheckNetwork},
    {xferlib::kCannotConnect, L"the host or the proxy cannot be reached", kCheckNetwork},
    {xferlib::kPartialBody, L"the reply ended early", L"try again"},
    {xferlib::kOutOfMemory, L"out of memory", L"close other programs"},
    {xferlib::kTimedOut, L"timed out", kCheckNetwork},
    {xferlib::kTlsHandshake, L"the TLS handshake failed",
     L"update Windows, check the clock and proxies that inspect https"},
    {xferlib::kTooManyRedirects, L"too many redirects", L"check the redirects of the host"},
    {xferlib::kEmptyReply, L"no valid HTTP reply arrived", kCheckNetwork},
    {xferlib::kSendFailed, L"sending failed", kCheckNetwork},
    {xferlib::kReceiveFailed, L"the connection was lost, or the proxy denied access",
     L"check ProxyUser and ProxyPw in \"common.cfg\""},
    {xferlib::kClientCertificateProblem, L"the host requires a client certificate", kCheckHost},
    {xferlib::kCertificateRejected, L"the host's certificate is not trusted",
     L"check the clock and proxies that inspect https"},
    {xferlib::kBodyTooLarge, L"the reply is larger than 1 MiB", kCheckHost},
    {xferlib::kLoginDenied, L"the credentials were denied, or are not valid UTF-8",
     L"check ProxyUser and ProxyPw in \"common.cfg\""},
};

/// Removes the first word and the blank after it from a line. Returns the word.
std::string_view takeWord(std::string_view& line) {
    const std::string_view word = line.substr(0, line.find(' '));
    line.remove_prefix(std::min(word.size() + 1, line.size()));
    return word;
}

/// Returns the text of a line that this thread has logged about a post; empty for other lines.
std::string_view outcomeText(std::string_view line, const std::string& begin) {
    const bool isLater = takeWord(line) >= begin;
    const bool isOwn = takeWord(line) == std::to_string(GetCurrentProcessId());
    const bool isThread = takeWord(line) == std::to_string(GetCurrentThreadId());
    takeWord(line); // level
    const bool isSender = takeWord(line) == "AppEventStat";
    takeWord(line); // file and line
    return isLater && isOwn && isThread && isSender ? line : std::string_view();
}

std::string lastOutcomeText(const std::wstring& path, const std::string& begin) {
    std::string contents, found;
    if (fs::readFile(path, fs::FileForm::plain, contents) != 0)
        return {};
    for (std::string_view rest = contents; !rest.empty();) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        if (const std::string_view text = outcomeText(line, begin); !text.empty())
            found = text;
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
    return found;
}

/// Returns the number that follows `prefix`, with the text after it; 0 if the text begins otherwise.
std::int32_t numberAfter(const std::string& text, std::string_view prefix, std::string& rest) {
    if (!text.starts_with(prefix))
        return 0;
    char* end = nullptr;
    const long number = std::strtol(text.c_str() + prefix.size(), &end, 10);
    rest = end;
    return number;
}

} // namespace

std::string logTime() {
    SYSTEMTIME now;
    GetSystemTime(&now);
    char text[32];
    std::snprintf(text, sizeof text, "%04u-%02u-%02uT%02u:%02u:%02u.%03uZ", now.wYear, now.wMonth, now.wDay,
                  now.wHour, now.wMinute, now.wSecond, now.wMilliseconds);
    return text;
}

EventOutcome findOutcome(const std::wstring& logs, const std::string& begin) {
    const std::wstring path = win32::joinPath(logs, L"Quenlith.log");
    std::string text = lastOutcomeText(path, begin);
    if (text.empty()) // the line may have been the last one before the log was truncated
        text = lastOutcomeText(path + L".1", begin);
    using Kind = EventOutcome::Kind;
    if (text == "stats::sendEvent: ok")
        return {.kind = Kind::accepted};
    std::string rest;
    if (const auto code = numberAfter(text, "stats::sendEvent: curl ", rest))
        return {.kind = Kind::failed, .code = code};
    if (const auto status = numberAfter(text, "stats::sendEvent rejected: http ", rest))
        return {.kind = Kind::rejected,
                .code = status,
                .reply = toWide(rest.substr(std::min(rest.size(), sizeof " | " - 1)))};
    return {};
}

Cause transportError(std::int32_t code) {
    const CodeText* const row = std::ranges::find(kCodes, code, &CodeText::code);
    const bool isKnown = row != std::end(kCodes);
    return {.number = code,
            .name = {},
            .text = isKnown ? row->text : L"the transfer failed",
            .advice = isKnown ? row->advice : kCheckNetwork};
}

} // namespace host
