#include "corelog/logger.h"

namespace {

/// The only thing that happens at load. It stores a name and touches neither disk nor other DLLs.
[[maybe_unused]] const bool kSettingsNameIsSet = [] {
    CoreLog::setSettingsName("Quenlith");
    return true;
}();

} // namespace
