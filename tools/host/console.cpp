#include "console.h"

#include <cstdio>

#include <windows.h>

namespace host {
namespace {

void write(std::FILE* stream, const std::string& line) {
    std::fwrite(line.data(), 1, line.size(), stream);
    std::fflush(stream);
}

} // namespace

std::string toUtf8(std::wstring_view wide) {
    if (wide.empty())
        return {};
    const auto convert = [&](char* out, int capacity) {
        return WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), out, capacity,
                                   nullptr, nullptr);
    };
    std::string narrow(static_cast<std::size_t>(convert(nullptr, 0)), '\0');
    convert(narrow.data(), static_cast<int>(narrow.size()));
    return narrow;
}

std::wstring fullPath(const std::wstring& path) {
    std::wstring full(32768, L'\0');
    full.resize(GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    return full;
}

void printPart(std::wstring_view text) {
    write(stdout, toUtf8(text));
}

void print(std::wstring_view line) {
    write(stdout, toUtf8(line) + "\n");
}

void complain(std::wstring_view line) {
    write(stderr, "zelsyshelper-host: " + toUtf8(line) + "\n");
}

} // namespace host
