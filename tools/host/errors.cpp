#include "errors.h"

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
    HOST_ERROR(ERROR_FILE_NOT_FOUND, L"check the file's path"),
    HOST_ERROR(ERROR_PATH_NOT_FOUND, L"check that the folder is there"),
    HOST_ERROR(ERROR_ACCESS_DENIED, L"run this as an administrator, or check the permissions"),
    HOST_ERROR(ERROR_NOT_ENOUGH_MEMORY, L"close other programs"),
    HOST_ERROR(ERROR_SHARING_VIOLATION, L"close the program that uses the file"),
    HOST_ERROR(ERROR_INVALID_PARAMETER, L"check the arguments"),
    HOST_ERROR(ERROR_DISK_FULL, L"make room on the disk"),
    HOST_ERROR(ERROR_INVALID_NAME,
               L"check the path for characters that names cannot hold, and for names of devices such as NUL"),
    HOST_ERROR(ERROR_BUSY, L"wait for what is under way, or stop it"),
    HOST_ERROR(ERROR_SERVICE_REQUEST_TIMEOUT, L"the service does not answer; look at its log"),
    HOST_ERROR(ERROR_SERVICE_CANNOT_ACCEPT_CTRL, L"the service is starting or stopping; try again"),
    HOST_ERROR(ERROR_SERVICE_MARKED_FOR_DELETE, L"close the programs that use the service"),
    HOST_ERROR(ERROR_SERVICE_EXISTS, L"uninstall the service first"),
    HOST_ERROR(ERROR_WINHTTP_TIMEOUT, L"the server is too slow; try again"),
    HOST_ERROR(ERROR_WINHTTP_INVALID_URL, L"check the URL"),
    HOST_ERROR(ERROR_WINHTTP_UNRECOGNIZED_SCHEME, L"the URL must begin with http:// or https://"),
    HOST_ERROR(ERROR_WINHTTP_NAME_NOT_RESOLVED, L"check the host's name, the proxy and the network"),
    HOST_ERROR(ERROR_WINHTTP_CANNOT_CONNECT, L"check that the server or the proxy runs, and the firewall"),
    HOST_ERROR(ERROR_WINHTTP_CONNECTION_ERROR, L"the connection broke; try again"),
    HOST_ERROR(ERROR_WINHTTP_INVALID_SERVER_RESPONSE, L"what answers there is no web server"),
    HOST_ERROR(ERROR_WINHTTP_REDIRECT_FAILED,
               L"the server redirects in a circle, or from https to http; check the URL"),
    HOST_ERROR(
        ERROR_WINHTTP_SECURE_CHANNEL_ERROR,
        L"no secure connection; check that Windows is up to date, the clock, and proxies that read https"),
    HOST_ERROR(ERROR_WINHTTP_SECURE_FAILURE, L"the server's certificate is not trusted; check the clock"),
};

#undef HOST_ERROR

std::wstring systemText(std::uint32_t number) {
    wchar_t text[512];
    DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, number,
                                  0, text, static_cast<DWORD>(std::size(text)), nullptr);
    while (length > 0 && text[length - 1] <= L' ')
        --length;
    return {text, length};
}

} // namespace

std::wstring describeError(std::uint32_t number) {
    const ErrorText* known = std::ranges::find(kErrors, number, &ErrorText::number);
    if (known != std::end(kErrors))
        return std::to_wstring(number) + L" (" + known->name + L"): " + known->advice;
    const std::wstring text = systemText(number);
    return std::to_wstring(number) + (text.empty() ? L"" : L": " + text);
}

} // namespace host
