#pragma once

#include "ui/common/stat/app_identity.h"

#include <string>

namespace stats {

/// Kinds of data folder. Any other number yields ".".
enum class DataPathKind {
    local = 0,    ///< Local data joined with the application's display name.
    settings = 1, ///< The suite's settings joined with the application's folder key. Created if missing.
    logs = 2,     ///< The suite's log files.
};

/// \brief Returns the folder for one kind of data of an application, or of the suite with \ref kWholeSuite.
///
/// Logs that SHGetKnownFolderPath or CoTaskMemFree is missing, but no failure of SHGetKnownFolderPath itself.
/// \return "." if the folder is unknown.
std::wstring applicationDataPath(DataPathKind kind, ApplicationId application);

} // namespace stats
