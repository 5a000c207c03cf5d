#include "text/wide.h"

#include <algorithm>
#include <climits>

#include <windows.h>

namespace text {
namespace {

constexpr std::size_t kMaxInput = INT_MAX - 1; // Windows counts in int, and the terminator is counted too

} // namespace

std::wstring utf8ToUtf16(std::string_view narrow) {
    if (narrow.empty() || narrow.size() > kMaxInput)
        return {};
    // The terminator is converted with the text, so the input must own one.
    const std::string input(narrow);
    const int inputSize = static_cast<int>(input.size()) + 1;
    const auto convert = [&](wchar_t* out, int capacity) {
        return MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, input.c_str(), inputSize, out, capacity);
    };

    int length = convert(nullptr, 0);
    if (length == 0 && GetLastError() == ERROR_NO_UNICODE_TRANSLATION)
        length = static_cast<int>(input.size());
    std::wstring wide(static_cast<std::size_t>(std::max(length, 0)), L'\0');
    // A call that rejects the input may have written the part before the fault; that part is no result.
    if (convert(wide.data(), length) == 0)
        return {};
    wide.resize(wide.find_first_of(L'\0'));
    return wide;
}

std::size_t codePageToUtf16(std::string_view narrow, unsigned codePage, std::wstring& wide) {
    wide.clear();
    if (narrow.empty() || narrow.size() > kMaxInput)
        return 0;
    const int inputSize = static_cast<int>(narrow.size());
    const int length = MultiByteToWideChar(codePage, 0, narrow.data(), inputSize, nullptr, 0);
    if (length <= 0)
        return 0;
    wide.resize(static_cast<std::size_t>(length)); // grows its capacity by half at least
    if (MultiByteToWideChar(codePage, 0, narrow.data(), inputSize, wide.data(), length) <= 0)
        wide.clear();
    return wide.size();
}

} // namespace text
