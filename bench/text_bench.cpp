// Conversions between UTF-8 and UTF-16.

#include "bench/benchmarks.h"
#include "bench/harness.h"
#include "text/utf16.h"
#include "text/wide.h"

#include <string>
#include <vector>

#include <windows.h>

namespace {

std::wstring windowsWide(const std::string& narrow) {
    const int size = static_cast<int>(narrow.size());
    const int length = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, narrow.data(), size, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(length), L'\0');
    MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, narrow.data(), size, wide.data(), length);
    return wide;
}

std::string windowsNarrow(const std::wstring& wide) {
    const int size = static_cast<int>(wide.size());
    const int length = WideCharToMultiByte(CP_UTF8, 0, wide.data(), size, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, wide.data(), size, narrow.data(), length, nullptr, nullptr);
    return narrow;
}

std::string repeated(const std::string& piece, std::size_t size) {
    std::string text;
    while (text.size() < size)
        text += piece;
    return text;
}

/// Leaves free blocks in the middle of the heap, as in a program that has run for a while. Otherwise the
/// strings lie at the end of the heap. Freeing one then returns its memory to the system, and allocating it
/// again costs more than a conversion.
void fragmentHeap() {
    static std::vector<std::string> kept;
    std::vector<std::string> freed;
    for (int i = 0; i < 8; ++i) {
        freed.emplace_back(200'000, 'x');
        kept.emplace_back(1000, 'x');
    }
}

/// \param makeString Must outlive the contender. Returns the string that a call makes.
template <class Call>
bench::Contender contender(const char* name, const Call& makeString) {
    return {name, [&makeString] {
                const auto result = makeString();
                bench::keep(result.data());
                return !result.empty();
            }};
}

void compare(const std::string& name, const std::string& narrow, double mostToAlternative) {
    const std::wstring wide = windowsWide(narrow);
    bench::require(!wide.empty() && text::utf8ToUtf16(narrow) == wide && text::utf16ToUtf8(wide) == narrow,
                   "the conversions of " + name + " differ");
    const auto measure = [&](const std::string& direction, const char* alternative, const auto& ours,
                             const auto& theirs, const auto& onlyString) {
        bench::measure({.name = direction + ", " + name,
                        .ours = contender("text", ours),
                        .alternatives = {contender(alternative, theirs)},
                        .references = {contender("only the string", onlyString)},
                        .goal = {.mostToAlternative = mostToAlternative},
                        .bytes = static_cast<double>(narrow.size()),
                        .seconds = 1});
    };
    measure(
        "UTF-8 to UTF-16", "MultiByteToWideChar", [&] { return text::utf8ToUtf16(narrow); },
        [&] { return windowsWide(narrow); }, [&] { return std::wstring(wide.size(), L'\0'); });
    measure(
        "UTF-16 to UTF-8", "WideCharToMultiByte", [&] { return text::utf16ToUtf8(wide); },
        [&] { return windowsNarrow(wide); }, [&] { return std::string(narrow.size(), '\0'); });
}

} // namespace

void benchText() {
    fragmentHeap();
    const std::string ascii = "The quick brown fox jumps over a lazy dog. ";
    const std::string mixed = "Größer, schöner \xE2\x80\x93 音楽 and some plain words \xF0\x9F\x8E\xB5 ";
    compare("ASCII, 40 bytes", ascii.substr(0, 40), 0.6);
    compare("ASCII, 64 KB", repeated(ascii, 65536), 1.0 / 3);
    compare("mixed, 60 bytes", mixed, 1);
    compare("mixed, 64 KB", repeated(mixed, 65536), 1);
    compare("Cyrillic, 64 KB", repeated("Съешь же ещё этих мягких булок ", 65536), 1);
    compare("Japanese, 64 KB", repeated("音楽を聴きながら散歩する", 65536), 1);
}

void growConversions() {
    fragmentHeap();
    for (std::size_t size = 10; size <= 10'000'000; size *= 10) {
        const std::string narrow = repeated("Größer, schöner and some plain words. ", size);
        const std::wstring wide = windowsWide(narrow);
        const auto ourWide = [&] { return text::utf8ToUtf16(narrow); };
        const auto ourNarrow = [&] { return text::utf16ToUtf8(wide); };
        const auto theirWide = [&] { return windowsWide(narrow); };
        const auto theirNarrow = [&] { return windowsNarrow(wide); };
        bench::measureGrowth({.name = "UTF-8 to UTF-16, by bytes",
                              .ours = contender("text", ourWide),
                              .alternatives = {contender("MultiByteToWideChar", theirWide)}},
                             narrow.size());
        bench::measureGrowth({.name = "UTF-16 to UTF-8, by bytes",
                              .ours = contender("text", ourNarrow),
                              .alternatives = {contender("WideCharToMultiByte", theirNarrow)}},
                             narrow.size());
    }
}
