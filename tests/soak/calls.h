#pragma once

#include "support/files.h"
#include "zelsyshelper_load.hpp"

#include <atomic>
#include <optional>
#include <random>
#include <string>

namespace soak {

inline std::optional<zelsyshelper_load> library; ///< Must be loaded before any of the calls.

inline bool loadLibrary() {
    library.emplace(testing_support::besideThisProgram(L"zelsyshelper.dll").c_str());
    return static_cast<bool>(*library);
}

/// Returns a value that readers can check for completeness. The next number's value has another length.
inline std::wstring valueOf(unsigned number) {
    return std::to_wstring(number) + L"." + std::wstring(number * 7 % 90, 'x') + L"." +
           std::to_wstring(number);
}

inline std::wstring property(const std::wstring& file, const std::string& key) {
    wchar_t buffer[256] = L"";
    library->getValueFromPropertyFile(file.c_str(), key.c_str(), buffer, 256);
    return buffer;
}

inline long openHandles() {
    long count = 0;
    for (std::uintptr_t handle = 4; handle < 0x10000; handle += 4) {
        DWORD flags = 0;
        count += GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags) != FALSE;
    }
    return count;
}

/// State of one thread, and its files.
struct Worker {
    std::wstring folder; // used by this thread only
    std::mt19937 random;
    unsigned port = 0; // port of the server for downloads
    unsigned last = 0; // number of the value in the thread's property file
    std::uint32_t n = 0, m = 0;
    std::uint8_t flag = 0;
    wchar_t text[256] = L"";

    static Worker in(const std::wstring& folder, unsigned seed, unsigned port) {
        std::filesystem::create_directories(folder + L"\\from\\a");
        testing_support::writeBytes(folder + L"\\from\\a\\file", "content");
        return {.folder = folder, .random = std::mt19937(seed), .port = port};
    }

    std::wstring url() {
        const wchar_t* const paths[] = {L"file/50000/a.bin", L"status/404", L"short/s", L"close/c"};
        return std::wstring(L"http://files.example/") + paths[random() % 4];
    }
};

/// Returns true if a query of the download has a documented result, with a number up to `largest`.
template <class Number>
bool isAnswer(std::uint64_t result, const Number& number, unsigned largest) {
    return result == ZELSYSHELPER_NO_DOWNLOAD || (result == 0 && number <= largest);
}

/// A call of one export, and the checks of its result.
struct Row {
    const char* name;
    int weight;
    std::uint64_t (*call)(Worker&);
    bool (*isRight)(Worker&, std::uint64_t result);
    bool (*isFailure)(Worker&, std::uint64_t result); // the results that the header documents for a failure
    bool leavesStore = false;                         // each call keeps a store in memory, by contract
    std::atomic<unsigned> calls = 0, wrong = 0;
};

#define EXPECTING(...)                                                                                       \
    []([[maybe_unused]] Worker& w, [[maybe_unused]] std::uint64_t r) -> bool { return __VA_ARGS__; }
#define CALL(name, ...)                                                                                      \
    []([[maybe_unused]] Worker& w) { return static_cast<std::uint64_t>(library->name(__VA_ARGS__)); }
#define CALL_VOID(name, ...)                                                                                 \
    []([[maybe_unused]] Worker& w) {                                                                         \
        library->name(__VA_ARGS__);                                                                          \
        return std::uint64_t(0);                                                                             \
    }
#define OWN(name) (w.folder + L"\\" name).c_str()

inline constexpr auto kIsError = EXPECTING(r == ERROR_NOT_ENOUGH_MEMORY);
inline constexpr auto kIsNothing = EXPECTING(r == 0);
inline constexpr auto kIsAnything = EXPECTING(true); // no result, or one that some failures leave unchanged
inline constexpr auto kIsNever = EXPECTING(false);
inline constexpr auto kIsUnread = EXPECTING(r == ZELSYSHELPER_NO_FILE || r == ZELSYSHELPER_FILE_FAILED);
inline constexpr auto kIsNotOpened =
    EXPECTING(static_cast<std::int64_t>(r) == ZELSYSHELPER_SERVICE_NOT_OPENED);
inline constexpr auto kIsServiceFailure = EXPECTING(
    r == ERROR_NOT_ENOUGH_MEMORY || static_cast<std::int64_t>(r) == ZELSYSHELPER_SERVICE_NO_MANAGER ||
    static_cast<std::int64_t>(r) == ZELSYSHELPER_SERVICE_NOT_OPENED);
inline constexpr auto kIsViewFailure = EXPECTING(w.n == ERROR_NOT_ENOUGH_MEMORY);

inline Row rows[] = {
    {"sendAppEvent", 5, CALL(sendAppEvent, "n", "s", "t", "i", "2", "1", "a", "c", "g", "b"), kIsNothing,
     kIsNever},
    {"sendAppEventFull", 5, CALL(sendAppEventFull, "n", "", "", "", "", "", "", "", "", "", "", "", ""),
     kIsNothing, kIsNever},
    {"parseTestDefAndDecideAdvType", 20, CALL_VOID(parseTestDefAndDecideAdvType, "A70 B30", &w.flag),
     EXPECTING(w.flag == 'A' || w.flag == 'B'), EXPECTING(w.flag == 0)},
    {"startDownloadFile", 5,
     CALL(startDownloadFile, L"127.0.0.1", w.port, nullptr, nullptr, w.url().c_str(), OWN("..\\downloads")),
     kIsNothing, EXPECTING(r == ERROR_NOT_ENOUGH_MEMORY || r == 10)}, // 10: no thread
    {"stopDownloadFile", 5, CALL_VOID(stopDownloadFile), kIsAnything, kIsAnything},
    {"getDownloadFileProgress", 10, CALL(getDownloadFileProgress, &w.n), EXPECTING(isAnswer(r, w.n, 100)),
     kIsError},
    {"getDownloadElapsedTimeInSeconds", 10, CALL(getDownloadElapsedTimeInSeconds, &w.n),
     EXPECTING(isAnswer(r, w.n, 60)), kIsError},
    {"getDownloadFileErrors", 10, CALL(getDownloadFileErrors, nullptr, &w.m, &w.n),
     EXPECTING(isAnswer(r, w.n, 404) && w.m <= ZELSYSHELPER_STAGE_EMPTY), kIsError},
    {"isDownloadFileCompleted", 10, CALL(isDownloadFileCompleted, &w.flag), EXPECTING(isAnswer(r, w.flag, 1)),
     kIsError},
    {"isDownloadFileStarted", 10, CALL(isDownloadFileStarted, &w.flag), EXPECTING(isAnswer(r, w.flag, 1)),
     kIsError},
    {"getValueFromPropertyFile", 20, CALL(getValueFromPropertyFile, OWN("own.cfg"), "k", w.text, 256),
     EXPECTING(w.last == 0 ? r == ZELSYSHELPER_NO_FILE : r == 0 && w.text == valueOf(w.last)), kIsUnread},
    {"setValueInPropertyFile", 20,
     [](Worker& w) {
         return ++w.last, library->setValueInPropertyFile(OWN("own.cfg"), "k", valueOf(w.last).c_str());
     },
     EXPECTING(r == (w.last > 1)), EXPECTING(r <= 1)},
    {"getIntFromPropertyFile", 20, CALL(getIntFromPropertyFile, OWN("own.cfg"), "k"),
     EXPECTING(r == (w.last == 0 ? ZELSYSHELPER_NO_FILE : w.last)), kIsUnread},
    {"isValueFromPropertyFileNotEmpty", 20, CALL(isValueFromPropertyFileNotEmpty, OWN("own.cfg"), "k"),
     EXPECTING(r == (w.last != 0)), kIsNothing},
    // The right result of the next four calls is 0. An injected failure must not turn it into a success.
    {"setValueInPropertyFile", 5, CALL(setValueInPropertyFile, OWN("no\\folder.cfg"), "k", L"v"), kIsNothing,
     kIsNothing},
    {"isValueFromPropertyFileNotEmpty", 5, CALL(isValueFromPropertyFileNotEmpty, OWN("own.cfg"), "absent"),
     kIsNothing, kIsNothing},
    {"checkProperty", 2, CALL(checkProperty, OWN("own.cfg"), "absent", 0), kIsNothing, kIsNothing, true},
    {"isModuleLoaded", 2, CALL(isModuleLoaded, "no such program.exe"), kIsNothing, kIsNothing},
    {"readProperty", 4, CALL(readProperty, OWN("own.cfg"), "k", w.text, 256, 0),
     EXPECTING(r == (w.last != 0 ? valueOf(w.last).size() : 0)), kIsNothing, true},
    {"writeProperty", 4, CALL(writeProperty, OWN("own.fx"), "k", L"v", 1), kIsNothing,
     EXPECTING(r == ZELSYSHELPER_FILE_FAILED), true},
    {"checkProperty", 4, CALL(checkProperty, OWN("own.cfg"), "k", 0), EXPECTING(r == (w.last != 0)),
     kIsNothing, true},
    {"enableFx", 10, CALL_VOID(enableFx, L"soak", std::to_string(w.random() % 20).c_str(), 1), kIsAnything,
     kIsAnything},
    {"clearFx", 5, CALL_VOID(clearFx, L"soak"), kIsAnything, kIsAnything},
    {"getOsVersion", 20, CALL(getOsVersion, (w.text[0] = 0, w.text)), EXPECTING(r == 0 || w.text[0] != 0),
     kIsNothing},
    {"isModuleLoaded", 5, CALL(isModuleLoaded, "services.exe"), EXPECTING(r == 1), kIsNothing},
    {"installService", 20, CALL(installService, L""), kIsNotOpened, kIsServiceFailure},
    {"isServiceInstalled", 5, CALL(isServiceInstalled, &w.flag), EXPECTING(r == 0 && w.flag == 0), kIsNever},
    {"isServicePresent", 5, CALL(isServicePresent, L"no such service"), kIsNothing, kIsNever},
    {"startService", 5, CALL(startService), kIsNotOpened, kIsServiceFailure},
    {"stopService", 5, CALL(stopService), kIsNothing, kIsServiceFailure},
    {"stopSystemService", 5, CALL(stopSystemService, L"no such service"), kIsNothing, kIsServiceFailure},
    {"uninstallService", 5, CALL(uninstallService), kIsNotOpened, kIsServiceFailure},
    {"updateService", 5, CALL(updateService), kIsNotOpened, kIsServiceFailure},
    {"assignShellFolderViewOptions", 5,
     CALL_VOID(assignShellFolderViewOptions, L"C:\\no such folder", nullptr, nullptr, nullptr, &w.n, &w.m),
     EXPECTING(w.n == 87 && w.m == 0), kIsViewFailure},
    {"retrieveShellFolderViewOptions", 5,
     CALL_VOID(retrieveShellFolderViewOptions, L"C:\\no such folder", nullptr, nullptr, nullptr, &w.n, &w.m),
     EXPECTING(w.n == 87 && w.m == 0), kIsViewFailure},
    {"createShellLink", 5, CALL_VOID(createShellLink, L"C:\\x.exe", OWN("x.lnk"), L"d", &w.n, &w.m),
     EXPECTING(w.n + w.m == 0),
     EXPECTING(w.n == ERROR_NOT_ENOUGH_MEMORY || w.n == ERROR_OUTOFMEMORY || w.n == ERROR_PROC_NOT_FOUND)},
    {"copyDirEx", 3,
     CALL(copyDirEx, OWN("from"), OWN("to")), // threads share the count; a lack of memory adds nothing
     EXPECTING(testing_support::readBytes(OWN("to\\a\\file")) == "content"), kIsAnything},
    {"zelChromeExtWasDeleted", 10, CALL(zelChromeExtWasDeleted),
     EXPECTING(r == ZELSYSHELPER_EXTENSION_ABSENT), EXPECTING(r >= ZELSYSHELPER_EXTENSION_NO_FOLDER)},
    {"bringRuningAppToTop", 10, CALL(bringRuningAppToTop, "no such program"), kIsNothing, kIsNever},
};

} // namespace soak
