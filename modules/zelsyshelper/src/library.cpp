#include "corelog/logger.h"

namespace {

/// Runs at load, under the loader lock. Stores a name, and accesses neither the disk nor other DLLs.
[[maybe_unused]] const bool kSettingsNameIsSet = [] {
    CoreLog::setSettingsName("Quenlith");
    return true;
}();

} // namespace
