#include "corelog/logger.h"

#include <cstdlib>
#include <exception>

namespace {

/// The only thing that happens at load. It stores a name and touches neither disk nor other DLLs.
[[maybe_unused]] const bool kSettingsNameIsSet = [] {
    CoreLog::setSettingsName("Quenlith");
    return true;
}();

} // namespace

#if defined(__GLIBCXX__)
/// Takes the place of the runtime's own, which prints the name of the exception: nobody would see it, and it brings
/// 50 KB of code for that.
void __gnu_cxx::__verbose_terminate_handler() {
    std::abort();
}
#endif
