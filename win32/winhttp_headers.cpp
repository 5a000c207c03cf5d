#include "win32/winhttp_headers.h"

namespace win32 {

std::optional<DWORD> numberHeader(HINTERNET request, DWORD header) {
    DWORD number = 0;
    DWORD size = sizeof number;
    if (!WinHttpQueryHeaders(request, header | WINHTTP_QUERY_FLAG_NUMBER, WINHTTP_HEADER_NAME_BY_INDEX,
                             &number, &size, WINHTTP_NO_HEADER_INDEX))
        return std::nullopt;
    return number;
}

std::optional<std::wstring> textHeader(HINTERNET request, DWORD header, std::optional<DWORD> index) {
    std::wstring value(256, L'\0');
    for (;;) {
        DWORD size = static_cast<DWORD>(value.size() * sizeof(wchar_t));
        DWORD position = index.value_or(0);
        if (WinHttpQueryHeaders(request, header, WINHTTP_HEADER_NAME_BY_INDEX, value.data(), &size,
                                index ? &position : WINHTTP_NO_HEADER_INDEX)) {
            value.resize(size / sizeof(wchar_t));
            return value;
        }
        if (GetLastError() != ERROR_INSUFFICIENT_BUFFER || size <= value.size() * sizeof(wchar_t))
            return std::nullopt;
        value.resize(size / sizeof(wchar_t) + 1);
    }
}

} // namespace win32
