#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace host {

using Arguments = std::vector<std::wstring>;

/// An option of a command or of the program.
struct Option {
    std::wstring_view name; ///< With its dashes or slash.
    bool takesValue;
};

/// What follows the name of a command.
struct Parameters {
    Arguments positional;
    std::map<std::wstring, std::wstring, std::less<>> options; ///< The last one of each name counts.

    bool has(std::wstring_view option) const { return options.contains(option); }

    /// Returns the value of an option; empty if the option is missing.
    std::wstring value(std::wstring_view option) const;
};

/// A whole command line.
struct CommandLine {
    std::wstring command;
    Parameters parameters;
    std::wstring dll = L"zelsyshelper.dll";
    bool isJson = false;
    bool wantsHelp = false;
    bool wantsVersion = false;
    std::wstring problem; ///< The first fault; empty if there is none.
};

/// Returns the options of the command with this name.
using OptionsOf = std::function<std::span<const Option>(const std::wstring& command)>;

/// \brief Parses the arguments of the program.
///
/// The options of the program (--json, --dll NAME, --help, -h, /?, --version) may stand before and after the
/// command, those of the command in any order after it. After the command, an option that both have
/// (--version) is the program's if it is the last argument or precedes another option of the program, because
/// no value follows it there. Otherwise it is the command's. The value of an option is never parsed as an
/// option. `--` ends the options. Parsing continues after a fault, so that --json takes effect wherever it
/// stands.
CommandLine parseCommandLine(const Arguments& arguments, const OptionsOf& optionsOf);

/// Returns the number that the text consists of; 0 for any other text and above the limit.
std::uint32_t wholeNumber(const std::wstring& text, std::uint32_t limit);

} // namespace host
