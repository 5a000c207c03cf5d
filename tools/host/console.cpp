#include "console.h"

#include <cstdio>

#include <io.h>
#include <windows.h>

namespace host {
namespace {

bool isJson = false;
int jsonOutput = -1; // where standard output led before JSON mode
std::string members;

void write(std::FILE* stream, const std::string& line) {
    std::fwrite(line.data(), 1, line.size(), stream);
    std::fflush(stream);
}

std::string quoted(std::string_view text) {
    std::string json = "\"";
    for (const char c : text) {
        char escaped[8] = {c};
        if (c == '"' || c == '\\')
            std::snprintf(escaped, sizeof escaped, "\\%c", c);
        else if (static_cast<unsigned char>(c) < 0x20)
            std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
        json += escaped;
    }
    return json + "\"";
}

void member(std::string_view name, const std::string& json) {
    members += (members.empty() ? "" : ", ") + quoted(name) + ": " + json;
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

void useJson() {
    if (isJson)
        return;
    isJson = true;
    jsonOutput = _dup(_fileno(stdout));
    _dup2(_fileno(stderr), _fileno(stdout));
}

void printPart(std::wstring_view text) {
    if (!isJson)
        write(stdout, toUtf8(text));
}

void print(std::wstring_view line) {
    if (!isJson)
        write(stdout, toUtf8(line) + "\n");
}

void complain(std::wstring_view line) {
    if (isJson)
        field("error", line);
    else
        write(stderr, "zelsyshelper-host: " + toUtf8(line) + "\n");
}

std::wstring coloured(Colour colour, std::wstring_view text) {
    DWORD mode = 0;
    const HANDLE console = GetStdHandle(STD_OUTPUT_HANDLE);
    if (!GetConsoleMode(console, &mode) ||
        !SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING))
        return std::wstring(text);
    const wchar_t* code = colour == Colour::good ? L"32" : colour == Colour::bad ? L"31" : L"33";
    return std::wstring(L"\x1B[").append(code).append(L"m").append(text).append(L"\x1B[0m");
}

void field(std::string_view name, std::wstring_view text) {
    if (isJson)
        member(name, quoted(toUtf8(text)));
}

void field(std::string_view name, std::int64_t number) {
    if (isJson)
        member(name, std::to_string(number));
}

void flag(std::string_view name, bool isSet) {
    if (isJson)
        member(name, isSet ? "true" : "false");
}

int answer(std::string_view name, bool isYes) {
    print(isYes ? L"yes" : L"no");
    flag(name, isYes);
    return isYes ? kDone : kFailed;
}

int finish(int code) {
    if (!isJson)
        return code;
    flag("ok", code == kDone);
    field("exitCode", code);
    const std::string object = "{" + members + "}\n";
    _write(jsonOutput, object.data(), static_cast<unsigned>(object.size()));
    return code;
}

} // namespace host
