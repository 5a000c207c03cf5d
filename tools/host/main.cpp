#include "commands.h"
#include "console.h"

#include <cstring>
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

void printHelp() {
    print(L"Usage: zelsyshelper-host [--json] [--dll NAME_OR_PATH] COMMAND ...\n"
          L"       zelsyshelper-host COMMAND --help\n"
          L"\n"
          L"Calls the functions of zelsyshelper.dll, which is looked for beside this program.\n"
          L"With --json, each command prints one JSON object instead of text.");
    for (const Group& group : groups()) {
        print(std::wstring(L"\n") + group.title + L"\n");
        for (const Command* command : group.commands)
            print(command->usage);
    }
    print(L"\nExit codes: 0 done, 1 failed or the answer is no, 2 wrong usage, 3 the DLL cannot be loaded.");
}

void complainOf(const Library& library, const std::wstring& dll) {
    if (library.module == nullptr)
        complain(L"cannot load " + dll + L" (Windows error " + std::to_wstring(library.error) +
                 L"): put it beside this program, or name it with --dll PATH");
    else
        complain(dll + L" has no function " +
                 std::wstring(library.missing, library.missing + std::strlen(library.missing)) +
                 L": it is older than this program; install the two from one release");
}

/// Takes the options before the command away.
/// \return False when they cannot be understood.
bool takeOptions(Arguments& arguments, std::wstring& dll) {
    while (!arguments.empty() && arguments[0].starts_with(L"--") && arguments[0] != L"--help") {
        std::size_t taken = 1;
        if (arguments[0] == L"--json") {
            useJson();
        } else if (arguments[0] == L"--dll" && arguments.size() > 1) {
            dll = arguments[1];
            taken = 2;
        } else {
            complain(arguments[0] + L" wants a value, or is unknown; --help lists the options");
            return false;
        }
        arguments.erase(arguments.begin(), arguments.begin() + static_cast<std::ptrdiff_t>(taken));
    }
    return true;
}

int run(Arguments arguments) {
    std::wstring dll = L"zelsyshelper.dll";
    if (!takeOptions(arguments, dll))
        return kUsage;
    if (arguments.empty() || arguments[0] == L"--help") {
        printHelp();
        return arguments.empty() ? kUsage : kDone;
    }
    const Command* const command = findCommand(arguments[0]);
    if (command == nullptr) {
        complain(L"unknown command " + arguments[0] + L"; --help lists the commands");
        return kUsage;
    }
    field("command", arguments[0]);
    if (arguments.size() == 2 && arguments[1] == L"--help") {
        print(command->usage);
        return kDone;
    }
    const bool isPath = dll.find_first_of(L"\\/:") != dll.npos;
    const Library library((isPath ? fullPath(dll) : dll).c_str());
    if (!library) {
        complainOf(library, dll);
        return kNoLibrary;
    }
    return command->run(library, Arguments(arguments.begin() + 1, arguments.end()));
}

} // namespace

int wrongUsage(const Command& command, const std::wstring& problem) {
    complain(problem + L"; usage:\n" + command.usage);
    return kUsage;
}

} // namespace host

int wmain(int count, wchar_t** arguments) {
    const UINT codePage = GetConsoleOutputCP();
    SetConsoleOutputCP(CP_UTF8);
    const int code = host::finish(host::run(host::Arguments(arguments + 1, arguments + count)));
    SetConsoleOutputCP(codePage); // the window belongs to others too
    return code;
}
