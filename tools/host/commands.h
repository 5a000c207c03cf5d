#pragma once

#include "options.h"
#include "zelsyshelper_load.hpp"

#include <span>
#include <string>

namespace host {

/// The DLL, loaded at run time as an application loads it.
using Library = zelsyshelper_load;

/// \brief One command of the program.
struct Command {
    const wchar_t* name;
    const wchar_t* usage; ///< The whole help text of the command.
    std::span<const Option> options;
    /// Carries the command out and returns the program's exit code.
    int (*run)(const Library& library, const Parameters& parameters);
};

extern const Command kAdvTypeCommand;
extern const Command kCopyDirCommand;
extern const Command kDoctorCommand;
extern const Command kDownloadCommand;
extern const Command kEventCommand;
extern const Command kExtensionCommand;
extern const Command kFolderViewCommand;
extern const Command kIsRunningCommand;
extern const Command kLinkCommand;
extern const Command kOsVersionCommand;
extern const Command kPropertyCommand;
extern const Command kRaiseCommand;
extern const Command kServiceCommand;
extern const Command kSwitchCommand;

/// \brief Reports that the command line does not fit the command, with the command's usage.
/// \return \ref kUsage.
int wrongUsage(const Command& command, const std::wstring& problem);

} // namespace host
