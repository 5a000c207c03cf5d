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

/// Returns a value that shows whether it is complete. Its length differs from that of its neighbours.
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

/// A call of one export, and the check of its result.
struct Row {
    const char* name;
    int weight;
    bool (*call)(Worker&); // returns true if the result is documented
    std::atomic<unsigned> calls = 0, wrong = 0;
};

// clang-format off
#define ROW(name, weight, ...) {#name, weight, []([[maybe_unused]] Worker& w) -> bool { return __VA_ARGS__; }}
#define OWN(name) (w.folder + L"\\" name).c_str()

inline Row rows[] = {
    ROW(sendAppEvent, 5, library->sendAppEvent("n", "s", "t", "i", "2", "1", "a", "c", "g", "b") == 0),
    ROW(sendAppEventFull, 5, library->sendAppEventFull("n", "", "", "", "", "", "", "", "", "", "", "", "") == 0),
    ROW(parseTestDefAndDecideAdvType, 20,
        (library->parseTestDefAndDecideAdvType("A70 B30", &w.flag), w.flag == 'A' || w.flag == 'B')),
    ROW(startDownloadFile, 5, library->startDownloadFile(L"127.0.0.1", w.port, nullptr, nullptr, w.url().c_str(),
                                                        OWN("..\\downloads")) == 0),
    ROW(stopDownloadFile, 5, (library->stopDownloadFile(), true)),
    ROW(getDownloadFileProgress, 10, isAnswer(library->getDownloadFileProgress(&w.n), w.n, 100)),
    ROW(getDownloadElapsedTimeInSeconds, 10, isAnswer(library->getDownloadElapsedTimeInSeconds(&w.n), w.n, 60)),
    ROW(getDownloadFileErrors, 10, isAnswer(library->getDownloadFileErrors(nullptr, &w.m, &w.n), w.n, 404) &&
                                   w.m <= ZELSYSHELPER_STAGE_EMPTY),
    ROW(isDownloadFileCompleted, 10, isAnswer(library->isDownloadFileCompleted(&w.flag), w.flag, 1)),
    ROW(isDownloadFileStarted, 10, isAnswer(library->isDownloadFileStarted(&w.flag), w.flag, 1)),
    ROW(getValueFromPropertyFile, 20, w.last == 0 || property(OWN("own.cfg"), "k") == valueOf(w.last)),
    ROW(setValueInPropertyFile, 20,
        (++w.last, library->setValueInPropertyFile(OWN("own.cfg"), "k", valueOf(w.last).c_str()) == (w.last > 1))),
    ROW(getIntFromPropertyFile, 20, w.last == 0 || library->getIntFromPropertyFile(OWN("own.cfg"), "k") == w.last),
    ROW(isValueFromPropertyFileNotEmpty, 20,
        library->isValueFromPropertyFileNotEmpty(OWN("own.cfg"), "k") == (w.last != 0)),
    ROW(readProperty, 4, library->readProperty(OWN("own.cfg"), "k", w.text, 256, 0) ==
                         (w.last != 0 ? valueOf(w.last).size() : 0)),
    ROW(writeProperty, 4, library->writeProperty(OWN("own.fx"), "k", L"v", 1) == 0),
    ROW(checkProperty, 4, library->checkProperty(OWN("own.cfg"), "k", 0) == (w.last != 0)),
    ROW(enableFx, 10, (library->enableFx(L"soak", std::to_string(w.random() % 20).c_str(), 1), true)),
    ROW(clearFx, 5, (library->clearFx(L"soak"), true)),
    ROW(getOsVersion, 20, library->getOsVersion(w.text) <= 1),
    ROW(isModuleLoaded, 5, library->isModuleLoaded("services.exe") == 1),
    ROW(installService, 20, library->installService(L"") == ZELSYSHELPER_SERVICE_NOT_OPENED),
    ROW(isServiceInstalled, 5, library->isServiceInstalled(&w.flag) == 0 && w.flag == 0),
    ROW(isServicePresent, 5, library->isServicePresent(L"no such service") == 0),
    ROW(startService, 5, library->startService() == ZELSYSHELPER_SERVICE_NOT_OPENED),
    ROW(stopService, 5, library->stopService() == 0),
    ROW(stopSystemService, 5, library->stopSystemService(L"no such service") == 0),
    ROW(uninstallService, 5, library->uninstallService() == ZELSYSHELPER_SERVICE_NOT_OPENED),
    ROW(updateService, 5, library->updateService() == ZELSYSHELPER_SERVICE_NOT_OPENED),
    ROW(assignShellFolderViewOptions, 5, (library->assignShellFolderViewOptions(
        L"C:\\no such folder", nullptr, nullptr, nullptr, &w.n, &w.m), w.n == 87 && w.m == 0)),
    ROW(retrieveShellFolderViewOptions, 5, (library->retrieveShellFolderViewOptions(
        L"C:\\no such folder", nullptr, nullptr, nullptr, &w.n, &w.m), w.n == 87 && w.m == 0)),
    ROW(createShellLink, 5, (library->createShellLink(L"C:\\x.exe", OWN("x.lnk"), L"d", &w.n, &w.m), w.n + w.m == 0)),
    ROW(copyDirEx, 3, (library->copyDirEx(OWN("from"), OWN("to")),
                       testing_support::readBytes(OWN("to\\a\\file")) == "content")),
    ROW(zelChromeExtWasDeleted, 10, library->zelChromeExtWasDeleted() == ZELSYSHELPER_EXTENSION_ABSENT),
    ROW(bringRuningAppToTop, 10, library->bringRuningAppToTop("nobody runs this") == 0),
};
// clang-format on

} // namespace soak
