#include "library.h"

#include "console.h"

namespace host {
namespace {

/// Finds functions one after the other and remembers the first one that is missing.
class Resolver {
public:
    explicit Resolver(HMODULE module) : module_(module) {}

    template <class Function>
    Resolver& find(Function& function, const char* name) {
        function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
        if (function == nullptr && missing_.empty())
            missing_ = name;
        return *this;
    }

    const std::string& missing() const { return missing_; }

private:
    HMODULE module_;
    std::string missing_;
};

} // namespace

std::wstring Library::load(const std::wstring& nameOrPath) {
    const bool isPath = nameOrPath.find_first_of(L"\\/:") != nameOrPath.npos;
    // The module stays loaded until this program ends.
    const HMODULE module =
        isPath ? LoadLibraryExW(fullPath(nameOrPath).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH)
               : LoadLibraryExW(nameOrPath.c_str(), nullptr,
                                LOAD_LIBRARY_SEARCH_APPLICATION_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (module == nullptr)
        return L"cannot load " + nameOrPath + L" (Windows error " + std::to_wstring(GetLastError()) +
               L"): put it beside this program, or name it with --dll PATH";

    const std::string missing = Resolver(module)
                                    .find(sendAppEvent, "sendAppEvent")
                                    .find(sendAppEventFull, "sendAppEventFull")
                                    .find(parseTestDefAndDecideAdvType, "parseTestDefAndDecideAdvType")
                                    .find(startDownloadFile, "startDownloadFile")
                                    .find(stopDownloadFile, "stopDownloadFile")
                                    .find(getDownloadFileProgress, "getDownloadFileProgress")
                                    .find(getDownloadElapsedTimeInSeconds, "getDownloadElapsedTimeInSeconds")
                                    .find(getDownloadFileErrors, "getDownloadFileErrors")
                                    .find(isDownloadFileCompleted, "isDownloadFileCompleted")
                                    .find(isDownloadFileStarted, "isDownloadFileStarted")
                                    .find(getValueFromPropertyFile, "getValueFromPropertyFile")
                                    .find(setValueInPropertyFile, "setValueInPropertyFile")
                                    .find(getIntFromPropertyFile, "getIntFromPropertyFile")
                                    .find(isValueFromPropertyFileNotEmpty, "isValueFromPropertyFileNotEmpty")
                                    .find(readProperty, "readProperty")
                                    .find(writeProperty, "writeProperty")
                                    .find(checkProperty, "checkProperty")
                                    .find(enableFx, "enableFx")
                                    .find(clearFx, "clearFx")
                                    .find(getOsVersion, "getOsVersion")
                                    .find(isModuleLoaded, "isModuleLoaded")
                                    .find(installService, "installService")
                                    .find(isServiceInstalled, "isServiceInstalled")
                                    .find(isServicePresent, "isServicePresent")
                                    .find(startService, "startService")
                                    .find(stopService, "stopService")
                                    .find(stopSystemService, "stopSystemService")
                                    .find(uninstallService, "uninstallService")
                                    .find(updateService, "updateService")
                                    .find(assignShellFolderViewOptions, "assignShellFolderViewOptions")
                                    .find(retrieveShellFolderViewOptions, "retrieveShellFolderViewOptions")
                                    .find(createShellLink, "createShellLink")
                                    .find(copyDirEx, "copyDirEx")
                                    .find(zelChromeExtWasDeleted, "zelChromeExtWasDeleted")
                                    .find(bringRuningAppToTop, "bringRuningAppToTop")
                                    .missing();
    if (!missing.empty())
        return nameOrPath + L" has no function " + std::wstring(missing.begin(), missing.end()) +
               L": it is older than this program; install the two from one release";
    return {};
}

} // namespace host
