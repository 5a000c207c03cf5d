#pragma once

#include "zelsyshelper.h"

#include <string>

#include <windows.h>

namespace host {

/// \brief The DLL, loaded at run time, as an application that installs it beside itself
/// does.
class Library {
public:
    /// \brief Loads the DLL and finds its functions.
    /// \param nameOrPath A bare name is looked for beside this program and in the system folder only.
    /// \return Empty when all is well, otherwise what is wrong and what to do.
    std::wstring load(const std::wstring& nameOrPath);

    decltype(&::sendAppEvent) sendAppEvent = nullptr;
    decltype(&::sendAppEventFull) sendAppEventFull = nullptr;
    decltype(&::parseTestDefAndDecideAdvType) parseTestDefAndDecideAdvType = nullptr;
    decltype(&::startDownloadFile) startDownloadFile = nullptr;
    decltype(&::stopDownloadFile) stopDownloadFile = nullptr;
    decltype(&::getDownloadFileProgress) getDownloadFileProgress = nullptr;
    decltype(&::getDownloadElapsedTimeInSeconds) getDownloadElapsedTimeInSeconds = nullptr;
    decltype(&::getDownloadFileErrors) getDownloadFileErrors = nullptr;
    decltype(&::isDownloadFileCompleted) isDownloadFileCompleted = nullptr;
    decltype(&::isDownloadFileStarted) isDownloadFileStarted = nullptr;
    decltype(&::getValueFromPropertyFile) getValueFromPropertyFile = nullptr;
    decltype(&::setValueInPropertyFile) setValueInPropertyFile = nullptr;
    decltype(&::getIntFromPropertyFile) getIntFromPropertyFile = nullptr;
    decltype(&::isValueFromPropertyFileNotEmpty) isValueFromPropertyFileNotEmpty = nullptr;
    decltype(&::readProperty) readProperty = nullptr;
    decltype(&::writeProperty) writeProperty = nullptr;
    decltype(&::checkProperty) checkProperty = nullptr;
    decltype(&::enableFx) enableFx = nullptr;
    decltype(&::clearFx) clearFx = nullptr;
    decltype(&::getOsVersion) getOsVersion = nullptr;
    decltype(&::isModuleLoaded) isModuleLoaded = nullptr;
    decltype(&::installService) installService = nullptr;
    decltype(&::isServiceInstalled) isServiceInstalled = nullptr;
    decltype(&::isServicePresent) isServicePresent = nullptr;
    decltype(&::startService) startService = nullptr;
    decltype(&::stopService) stopService = nullptr;
    decltype(&::stopSystemService) stopSystemService = nullptr;
    decltype(&::uninstallService) uninstallService = nullptr;
    decltype(&::updateService) updateService = nullptr;
    decltype(&::assignShellFolderViewOptions) assignShellFolderViewOptions = nullptr;
    decltype(&::retrieveShellFolderViewOptions) retrieveShellFolderViewOptions = nullptr;
    decltype(&::createShellLink) createShellLink = nullptr;
    decltype(&::copyDirEx) copyDirEx = nullptr;
    decltype(&::zelChromeExtWasDeleted) zelChromeExtWasDeleted = nullptr;
    decltype(&::bringRuningAppToTop) bringRuningAppToTop = nullptr;
};

} // namespace host
