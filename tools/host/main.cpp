#include "commands.h"
#include "console.h"
#include "errors.h"
#include "interrupt.h"

#include <vector>

namespace host {
namespace {

struct Group {
    const wchar_t* title;
    std::vector<const Command*> commands;
};

const std::vector<Group>& groups() {
    static const std::vector<Group> all{
        {L"Usage events", {&kEventCommand, &kAdvTypeCommand}},
        {L"Download", {&kDownloadCommand}},
        {L"Property and switch files", {&kPropertyCommand, &kSwitchCommand}},
        {L"Services", {&kServiceCommand}},
        {L"The shell", {&kFolderViewCommand, &kLinkCommand, &kCopyDirCommand, &kExtensionCommand}},
        {L"Single instance", {&kRaiseCommand}},
        {L"The machine", {&kOsVersionCommand, &kIsRunningCommand, &kDoctorCommand}},
    };
    return all;
}

const Command* findCommand(const std::wstring& name) {
    for (const Group& group : groups())
        for (const Command* command : group.commands)
            if (name == command->name)
                return command;
    return nullptr;
}

std::span<const Option> optionsOf(const std::wstring& name) {
    const Command* const command = findCommand(name);
    return command != nullptr ? command->options : std::span<const Option>();
}

std::wstring programHelp() {
    std::wstring help =
        L"Usage: zelsyshelper-host [--json] [--dll NAME_OR_PATH] COMMAND ...\n"
        L"       zelsyshelper-host help [COMMAND]\n"
        L"       zelsyshelper-host --version\n"
        L"\n"
        L"Calls the functions of zelsyshelper.dll, by default of the one in this program's folder.\n"
        L"\n"
        L"--json          Prints one JSON object instead of text, also for errors.\n"
        L"--dll NAME      Loads another DLL: a name in this program's folder, or a path.\n"
        L"--help, -h, /?  Prints help; after a command, help for that command.\n"
        L"--version       Prints the version of this program.\n"
        L"--              Ends the options: write it before arguments such as -h and --x.\n"
        L"These options may stand before and after the command, those of a command only after it.\n";
    for (const Group& group : groups()) {
        help += std::wstring(L"\n") + group.title + L"\n\n";
        for (const Command* command : group.commands)
            help += std::wstring(command->usage) + L"\n";
    }
    return help + L"\nExit codes: 0 done, 1 failed or the answer is no, 2 wrong usage, 3 the DLL cannot be "
                  L"loaded,\n130 interrupted by Ctrl+C.";
}

int failUsage(const std::wstring& problem) {
    fail(problem, {.advice = L"\"zelsyshelper-host help\" lists commands and options"});
    return kUsage;
}

int printHelp(const std::wstring& commandName) {
    const Command* const command = findCommand(commandName);
    if (command == nullptr && !commandName.empty())
        return failUsage(L"Unknown command " + commandName);
    const std::wstring help = command != nullptr ? command->usage : programHelp();
    print(help);
    field("help", help);
    return kDone;
}

int failToLoad(const Library& library, const std::wstring& dll) {
    if (library.module == nullptr) {
        Cause cause = windowsError(library.error);
        cause.advice = L"put it into the folder of this program, or name it with --dll PATH";
        fail(L"Cannot load " + dll, cause);
    } else {
        fail(dll + L" has no function " + toWide(library.missing),
             {.advice = L"it is older than this program; install both from one release"});
    }
    return kNoLibrary;
}

int run(const Arguments& arguments) {
    const CommandLine line = parseCommandLine(arguments, optionsOf);
    if (line.isJson)
        useJson();
    if (!line.command.empty())
        field("command", line.command);
    const Command* const command = findCommand(line.command);
    const Arguments& positional = line.parameters.positional;
    const bool hasArguments = !positional.empty() || !line.parameters.options.empty();
    // "property set FILE KEY -h" must not look as if it had set the value.
    if ((line.wantsVersion || line.wantsHelp) && command != nullptr && hasArguments)
        return wrongUsage(*command, L"-h, --help, /? and --version accept no arguments of a command; write "
                                    L"-- before an argument of that form");
    if (line.wantsVersion) {
        print(L"zelsyshelper-host " + toWide(ZELSYSHELPER_VERSION));
        field("version", toWide(ZELSYSHELPER_VERSION));
        return kDone;
    }
    if (line.command == L"help")
        return printHelp(positional.empty() ? L"" : positional.front());
    if (line.wantsHelp)
        return printHelp(line.command);
    if (command == nullptr)
        return failUsage(!line.problem.empty()  ? line.problem
                         : line.command.empty() ? L"No command"
                                                : L"Unknown command " + line.command);
    if (!line.problem.empty())
        return wrongUsage(*command, line.problem);
    const bool isPath = line.dll.find_first_of(L"\\/:") != line.dll.npos;
    const Library library((isPath ? fullPath(line.dll) : line.dll).c_str());
    if (!library)
        return failToLoad(library, line.dll);
    return command->run(library, line.parameters);
}

} // namespace

int wrongUsage(const Command& command, const std::wstring& problem) {
    printError(problem + L"\n\n" + command.usage);
    field("error", problem);
    field("usage", command.usage);
    return kUsage;
}

} // namespace host

int wmain(int count, wchar_t** arguments) {
    host::openConsole();
    host::installInterruptHandler();
    return host::finish(host::run(host::Arguments(arguments + 1, arguments + count)));
}
