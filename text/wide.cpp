#include "text/wide.h"

#include <climits>

#include <windows.h>

namespace text {
namespace {

constexpr std::size_t kMaxInput = INT_MAX; // the system's conversions take the length as an int

} // namespace

std::size_t codePageToUtf16(std::string_view narrow, unsigned codePage, std::wstring& wide) {
    wide.clear();
    if (narrow.empty() || narrow.size() > kMaxInput)
        return 0;
    const int inputSize = static_cast<int>(narrow.size());
    const int length = MultiByteToWideChar(codePage, 0, narrow.data(), inputSize, nullptr, 0);
    if (length <= 0)
        return 0;
    wide.resize(static_cast<std::size_t>(length)); // grows geometrically: repeated calls rarely allocate
    if (MultiByteToWideChar(codePage, 0, narrow.data(), inputSize, wide.data(), length) <= 0)
        wide.clear();
    return wide.size();
}

std::string utf16ToCodePage(std::wstring_view wide, unsigned codePage) {
    if (wide.empty() || wide.size() > kMaxInput)
        return {};
    const auto convert = [&](char* out, int capacity) {
        return WideCharToMultiByte(codePage, 0, wide.data(), static_cast<int>(wide.size()), out, capacity,
                                   nullptr, nullptr);
    };
    std::string narrow(static_cast<std::size_t>(convert(nullptr, 0)), '\0');
    narrow.resize(static_cast<std::size_t>(convert(narrow.data(), static_cast<int>(narrow.size()))));
    return narrow;
}

std::wstring decimal(long long number) {
    const std::string digits = std::to_string(number);
    return std::wstring(digits.begin(), digits.end());
}

} // namespace text
