#include "text/wide.h"

#include <climits>

#include <windows.h>

namespace text {
namespace {

constexpr std::size_t kMaxInput = INT_MAX; // MultiByteToWideChar takes the length as an int

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

std::wstring decimal(long long number) {
    const std::string digits = std::to_string(number);
    return std::wstring(digits.begin(), digits.end());
}

} // namespace text
