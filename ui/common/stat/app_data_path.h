#pragma once

#include "ui/common/stat/app_identity.h"

#include <string>

namespace stats {

/// Kinds of data folder. Other numbers give ".".
enum class DataPathKind {
    local = 0,    ///< Local data joined with the application's display name.
    settings = 1, ///< The suite's settings joined with the application's folder key. Created when missing.
    logs = 2,     ///< The suite's log files.
};

/// \brief The folder for one kind of data of one application, or of the suite with \ref kWholeSuite.
/// \return "." when it cannot be found; a known folder that cannot be looked up is logged.
std::wstring applicationDataPath(DataPathKind kind, ApplicationId application);

} // namespace stats
