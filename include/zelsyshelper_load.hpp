/**
 * \file
 * Loads zelsyshelper.dll at run time, for C++11 and later. Needs only this header and zelsyshelper.h.
 * Includes <windows.h> with WIN32_LEAN_AND_MEAN: include it yourself before this header if you need all of
 * it.
 *
 *     zelsyshelper_load library(L"zelsyshelper.dll");
 *     if (!library)
 *         ... library.error, library.missing ...
 *     library.isModuleLoaded("player.exe");
 */
#ifndef ZELSYSHELPER_LOAD_HPP
#define ZELSYSHELPER_LOAD_HPP

#include "zelsyshelper.h"

#include <cwchar>
#include <type_traits>

/* <windows.h> must not define min() and max(), nor include <winsock.h>, which conflicts with <winsock2.h>. */
#ifndef NOMINMAX
#define NOMINMAX
#define ZELSYSHELPER_NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#define ZELSYSHELPER_LEAN
#endif
#include <windows.h>
#ifdef ZELSYSHELPER_NOMINMAX
#undef NOMINMAX
#undef ZELSYSHELPER_NOMINMAX
#endif
#ifdef ZELSYSHELPER_LEAN
#undef WIN32_LEAN_AND_MEAN
#undef ZELSYSHELPER_LEAN
#endif

/** Calls X with the name of each function. */
/* clang-format off */
#define ZELSYSHELPER_FUNCTIONS(X) \
    X(sendAppEvent) X(sendAppEventFull) X(parseTestDefAndDecideAdvType) X(startDownloadFile) \
    X(stopDownloadFile) X(getDownloadFileProgress) X(getDownloadElapsedTimeInSeconds) \
    X(getDownloadFileErrors) X(isDownloadFileCompleted) X(isDownloadFileStarted) X(getValueFromPropertyFile) \
    X(setValueInPropertyFile) X(getIntFromPropertyFile) X(isValueFromPropertyFileNotEmpty) X(readProperty) \
    X(writeProperty) X(checkProperty) X(enableFx) X(clearFx) X(getOsVersion) X(isModuleLoaded) \
    X(installService) X(isServiceInstalled) X(isServicePresent) X(startService) X(stopService) \
    X(stopSystemService) X(uninstallService) X(updateService) X(assignShellFolderViewOptions) \
    X(retrieveShellFolderViewOptions) X(createShellLink) X(copyDirEx) X(zelChromeExtWasDeleted) \
    X(bringRuningAppToTop)
/* clang-format on */

/** Loads the library and holds its functions. The destructor frees the library: first call
 * stopDownloadFile(). */
struct zelsyshelper_load {
#define ZELSYSHELPER_MEMBER(name)                                                                            \
    PFN_##name name = nullptr;                                                                               \
    static_assert(std::is_same<PFN_##name, decltype(&::name)>::value, "the types of " #name " differ");
    ZELSYSHELPER_FUNCTIONS(ZELSYSHELPER_MEMBER)
#undef ZELSYSHELPER_MEMBER

    HMODULE module = nullptr;      /**< Null when the library could not be loaded. */
    DWORD error = ERROR_SUCCESS;   /**< The error of LoadLibraryExW; 0 if the library is loaded. */
    const char* missing = nullptr; /**< The first function that an outdated library lacks; else null. */

    /**
     * Loads the library and finds all functions.
     *
     * \param path Not null. A full path; the DLLs that the library needs may lie beside it. A bare name is
     *             searched beside the program and in the system folder only, never in the current folder.
     */
    explicit zelsyshelper_load(const wchar_t* path) {
        const bool isBare = std::wcspbrk(path, L"\\/:") == nullptr;
        module = LoadLibraryExW(path, nullptr,
                                isBare ? LOAD_LIBRARY_SEARCH_APPLICATION_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32
                                       : LOAD_WITH_ALTERED_SEARCH_PATH);
        if (module == nullptr) {
            error = GetLastError();
            return;
        }
#define ZELSYSHELPER_FIND(name) find(name, #name);
        ZELSYSHELPER_FUNCTIONS(ZELSYSHELPER_FIND)
#undef ZELSYSHELPER_FIND
    }

    zelsyshelper_load(const zelsyshelper_load&) = delete;
    zelsyshelper_load& operator=(const zelsyshelper_load&) = delete;

    ~zelsyshelper_load() {
        if (module != nullptr)
            FreeLibrary(module);
    }

    /** Returns true if the library is loaded and has all functions. */
    explicit operator bool() const {
        return module != nullptr && missing == nullptr;
    }

private:
    template <class Function>
    void find(Function& function, const char* name) {
        function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
        if (function == nullptr && missing == nullptr)
            missing = name;
    }
};

#endif /* ZELSYSHELPER_LOAD_HPP */
