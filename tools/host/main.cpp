#include "commands.h"
#include "console.h"

#include <cstring>

namespace host {
namespace {

const Command* const kCommands[] = {
    &kEventCommand,   &kAdvTypeCommand,    &kDownloadCommand, &kPropertyCommand, &kSwitchCommand,
    &kServiceCommand, &kFolderViewCommand, &kLinkCommand,     &kCopyDirCommand,  &kExtensionCommand,
    &kRaiseCommand,   &kOsVersionCommand,  &kIsRunningCommand};

void printHelp() {
    print(L"Usage: zelsyshelper-host [--dll NAME_OR_PATH] COMMAND ...\n"
          L"\n"
          L"Calls the functions of zelsyshelper.dll, which is looked for beside this program.\n");
    for (const Command* command : kCommands)
        print(std::wstring(command->usage) + L"\n");
    print(L"Exit codes: 0 done, 1 failed or the answer is no, 2 wrong usage, 3 the DLL cannot be loaded.");
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

int run(Arguments arguments) {
    std::wstring dll = L"zelsyshelper.dll";
    if (!arguments.empty() && arguments[0] == L"--dll") {
        if (arguments.size() < 2) {
            complain(L"--dll wants a name or a path");
            return kUsage;
        }
        dll = arguments[1];
        arguments.erase(arguments.begin(), arguments.begin() + 2);
    }
    if (arguments.empty() || arguments[0] == L"--help") {
        printHelp();
        return arguments.empty() ? kUsage : kDone;
    }
    for (const Command* command : kCommands) {
        if (arguments[0] != command->name)
            continue;
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
    complain(L"unknown command " + arguments[0] + L"; --help lists the commands");
    return kUsage;
}

} // namespace

int wrongUsage(const Command& command, const std::wstring& problem) {
    complain(problem);
    complain(std::wstring(L"usage:\n") + command.usage);
    return kUsage;
}

} // namespace host

int wmain(int count, wchar_t** arguments) {
    SetConsoleOutputCP(CP_UTF8);
    return host::run(host::Arguments(arguments + 1, arguments + count));
}
