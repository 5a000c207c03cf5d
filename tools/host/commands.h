#pragma once

#include "zelsyshelper_load.hpp"

#include <string>
#include <vector>

namespace host {

/// The DLL, loaded at run time, as an application that installs it beside itself does.
using Library = zelsyshelper_load;
using Arguments = std::vector<std::wstring>;

/// \brief One command of the program.
struct Command {
    const wchar_t* name;
    const wchar_t* usage; ///< The whole help text of the command.
    /// Carries the command out with the arguments after its name, and returns the program's exit code.
    int (*run)(const Library& library, const Arguments& arguments);
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

/// \brief Complains that the arguments of a command do not fit, shows its usage, and returns \ref kUsage.
int wrongUsage(const Command& command, const std::wstring& problem);

} // namespace host
