#include "errors.h"

#include "console.h"
#include "win32/owner.h"
#include "win32/system_library.h"

#include <algorithm>
#include <iterator>

#include <windows.h>

#include <winhttp.h>

namespace host {
namespace {

struct ErrorText {
    std::uint32_t number;
    const wchar_t* name;
    const wchar_t* advice;
};

#define HOST_ERROR(name, advice)                                                                             \
    { name, L"" #name, advice }

constexpr ErrorText kErrors[] = {
    HOST_ERROR(ERROR_FILE_NOT_FOUND, L"check the path"),
    HOST_ERROR(ERROR_PATH_NOT_FOUND, L"check that the folder exists"),
    HOST_ERROR(ERROR_ACCESS_DENIED, L"run this as an administrator, or check the permissions"),
    HOST_ERROR(ERROR_NOT_ENOUGH_MEMORY, L"close other programs"),
    HOST_ERROR(ERROR_SHARING_VIOLATION, L"close the program that uses the file"),
    HOST_ERROR(ERROR_INVALID_PARAMETER, L"check the arguments"),
    HOST_ERROR(ERROR_DISK_FULL, L"free space on the disk"),
    HOST_ERROR(ERROR_INVALID_NAME, L"check the path for invalid characters and for device names such as NUL"),
    HOST_ERROR(ERROR_BUSY, L"wait for the running operation, or stop it"),
    HOST_ERROR(ERROR_SERVICE_REQUEST_TIMEOUT, L"inspect the log of the service"),
    HOST_ERROR(ERROR_SERVICE_CANNOT_ACCEPT_CTRL, L"try again when the service has started or stopped"),
    HOST_ERROR(ERROR_SERVICE_MARKED_FOR_DELETE, L"close the programs that use the service"),
    HOST_ERROR(ERROR_SERVICE_DOES_NOT_EXIST, L"install the service first"),
    HOST_ERROR(ERROR_SERVICE_EXISTS, L"uninstall the service first"),
    HOST_ERROR(ERROR_WINHTTP_TIMEOUT, L"the server does not answer in time; try again"),
    HOST_ERROR(ERROR_WINHTTP_INVALID_URL, L"check the URL"),
    HOST_ERROR(ERROR_WINHTTP_UNRECOGNIZED_SCHEME, L"the URL must begin with http:// or https://"),
    HOST_ERROR(ERROR_WINHTTP_NAME_NOT_RESOLVED, L"check the host's name, the proxy and the network"),
    HOST_ERROR(ERROR_WINHTTP_CANNOT_CONNECT, L"check that the server or the proxy runs, and the firewall"),
    HOST_ERROR(ERROR_WINHTTP_CONNECTION_ERROR, L"the connection was reset; try again"),
    HOST_ERROR(ERROR_WINHTTP_INVALID_SERVER_RESPONSE, L"check that a web server uses this address"),
    HOST_ERROR(ERROR_WINHTTP_REDIRECT_FAILED,
               L"the server redirects in a circle, or from https to http; check the URL"),
    HOST_ERROR(ERROR_WINHTTP_SECURE_CHANNEL_ERROR,
               L"the TLS handshake failed; update Windows, check the clock and proxies that inspect https"),
    HOST_ERROR(ERROR_WINHTTP_SECURE_FAILURE, L"the server's certificate is not trusted; check the clock"),
};

#undef HOST_ERROR

/// Returns the system's text for an error. The messages of WinHTTP are in its own DLL.
std::wstring systemText(std::uint32_t number) {
    const bool isHttp = number >= WINHTTP_ERROR_BASE && number <= WINHTTP_ERROR_LAST;
    const win32::Library http(isHttp ? win32::loadSystemLibrary(L"winhttp.dll") : nullptr);
    wchar_t text[512];
    DWORD length = FormatMessageW((isHttp ? FORMAT_MESSAGE_FROM_HMODULE : FORMAT_MESSAGE_FROM_SYSTEM) |
                                      FORMAT_MESSAGE_IGNORE_INSERTS,
                                  http.get(), number, 0, text, static_cast<DWORD>(std::size(text)), nullptr);
    while (length > 0 && (text[length - 1] <= L' ' || text[length - 1] == L'.'))
        --length;
    return {text, length};
}

/// Adds a member. Removes it if the text is empty: an earlier failure may have added it.
void optionalField(std::string_view name, const std::wstring& text) {
    if (!text.empty())
        field(name, text);
    else
        omit(name);
}

} // namespace

Cause windowsError(std::uint32_t number) {
    const ErrorText* known = std::ranges::find(kErrors, number, &ErrorText::number);
    const bool isKnown = known != std::end(kErrors);
    return {.number = number,
            .name = isKnown ? known->name : L"",
            .text = systemText(number),
            .advice = isKnown ? known->advice : L""};
}

std::wstring described(const Cause& cause) {
    if (!cause.number)
        return cause.text;
    return cause.text + (cause.text.empty() ? L"(" : L" (") + std::to_wstring(*cause.number) +
           (cause.name.empty() ? L"" : L", " + cause.name) + L")";
}

int fail(const std::wstring& what, const Cause& cause, const std::wstring& detail) {
    const std::wstring why = described(cause);
    printError(what + detail + (why.empty() ? L"" : (cause.text.empty() ? L" " : L": ") + why) +
               (cause.advice.empty() ? L"" : L"; " + cause.advice));
    field("error", what);
    if (cause.number)
        field("errorNumber", *cause.number);
    else
        omit("errorNumber");
    optionalField("errorName", cause.name);
    optionalField("errorText", cause.text);
    optionalField("advice", cause.advice);
    return kFailed;
}

} // namespace host
