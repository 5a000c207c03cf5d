#include "console.h"

#include "sys/mutex.h"
#include "text/wide.h"

#include <cstdio>
#include <mutex>

#include <io.h>
#include <windows.h>

namespace host {
namespace {

UINT formerCodePage = 0;
bool isJson = false;
int jsonOutput = -1; // standard output before JSON mode

// On Ctrl+C, another thread calls `finish`.
sys::Mutex mutex; // guards `members` and `endingThread`
std::vector<std::pair<std::string, std::string>> members;
DWORD endingThread = 0;
bool isOutcomeOpen = false;

/// Returns true if another thread is ending the program. The caller holds the mutex.
bool isDiscarded() {
    return endingThread != 0 && endingThread != GetCurrentThreadId();
}

void write(std::FILE* stream, const std::string& line) {
    {
        const std::lock_guard guard(mutex);
        if (isJson || isDiscarded())
            return;
    }
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

std::string quoted(std::wstring_view text) {
    return quoted(toUtf8(text));
}

void member(std::string_view name, const std::string& json) {
    if (!isJson)
        return;
    const std::lock_guard guard(mutex);
    if (isDiscarded())
        return;
    for (auto& [known, value] : members) {
        if (known == name) {
            value = json;
            return;
        }
    }
    members.emplace_back(name, json);
}

} // namespace

std::string toUtf8(std::wstring_view wide) {
    return text::utf16ToCodePage(wide, CP_UTF8);
}

std::wstring toWide(std::string_view narrow) {
    std::wstring wide;
    text::codePageToUtf16(narrow, CP_UTF8, wide);
    return wide;
}

std::wstring fullPath(const std::wstring& path) {
    std::wstring full(32768, L'\0');
    full.resize(GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    return full;
}

void openConsole() {
    formerCodePage = GetConsoleOutputCP();
    SetConsoleOutputCP(CP_UTF8);
}

void useJson() {
    isJson = true;
    jsonOutput = _dup(_fileno(stdout));
    _dup2(_fileno(stderr), _fileno(stdout));
}

void printPart(std::wstring_view text) {
    write(stdout, toUtf8(text));
}

void print(std::wstring_view line) {
    write(stdout, toUtf8(line) + "\n");
}

void printError(std::wstring_view line) {
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
    member(name, quoted(text));
}

void field(std::string_view name, std::int64_t number) {
    member(name, std::to_string(number));
}

void flag(std::string_view name, bool isSet) {
    member(name, isSet ? "true" : "false");
}

void omit(std::string_view name) {
    const std::lock_guard guard(mutex);
    if (!isDiscarded())
        std::erase_if(members, [name](const auto& member) { return member.first == name; });
}

void finding(std::string_view name, std::wstring_view state, std::wstring_view text, const Facts& facts) {
    std::string json = "{\"state\": " + quoted(state) + ", \"text\": " + quoted(text);
    for (const auto& [fact, value] : facts) {
        const auto* const number = std::get_if<std::int64_t>(&value);
        json += ", " + quoted(fact) + ": " +
                (number != nullptr ? std::to_string(*number) : quoted(std::get<std::wstring>(value)));
    }
    member(name, json + "}");
}

void leaveOutcomeOpen() {
    isOutcomeOpen = true;
}

int answer(std::string_view name, bool isYes) {
    print(isYes ? L"yes" : L"no");
    flag(name, isYes);
    return isYes ? kDone : kFailed;
}

void claimEnd() {
    {
        const std::lock_guard guard(mutex);
        if (!isDiscarded()) {
            endingThread = GetCurrentThreadId();
            return;
        }
    }
    Sleep(INFINITE);
}

int finish(int code) {
    claimEnd();
    SetConsoleOutputCP(formerCodePage); // the shell shares the console
    if (!isJson)
        return code;
    member("ok", code != kDone ? "false" : isOutcomeOpen ? "null" : "true");
    field("exitCode", code);
    std::string object;
    const std::lock_guard guard(mutex);
    for (const auto& [name, value] : members)
        object += (object.empty() ? "{" : ", ") + quoted(name) + ": " + value;
    object += "}\n";
    _write(jsonOutput, object.data(), static_cast<unsigned>(object.size()));
    return code;
}

} // namespace host
