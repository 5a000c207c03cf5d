#include "commands.h"
#include "console.h"
#include "errors.h"
#include "service_state.h"

#include <algorithm>
#include <iterator>

namespace host {
namespace {

struct CodeText {
    std::int32_t code;
    const wchar_t* name;
    const wchar_t* text;
    const wchar_t* advice;
};

constexpr CodeText kCodes[] = {
    {ZELSYSHELPER_SERVICE_NO_MANAGER, L"SERVICE_NO_MANAGER", L"the service manager cannot be opened",
     L"run this as an administrator"},
    {ZELSYSHELPER_SERVICE_NOT_OPENED, L"SERVICE_NOT_OPENED",
     L"the service cannot be opened, or the path of its program is not usable",
     L"check \"service status\", and run this as an administrator"},
    {ZELSYSHELPER_SERVICE_FAILED, L"SERVICE_FAILED", L"the service manager refused the operation",
     L"run this as an administrator"},
    {ZELSYSHELPER_SERVICE_STOP_REFUSED, L"SERVICE_STOP_REFUSED", L"the service refused to stop",
     L"it may be stopped already; check its state"},
    {ZELSYSHELPER_SERVICE_STOP_UNKNOWN, L"SERVICE_STOP_UNKNOWN",
     L"the state of the service cannot be queried", L"try again"},
    {ZELSYSHELPER_SERVICE_STOP_STUCK, L"SERVICE_STOP_STUCK", L"the service is stopping without progress",
     L"end its process"},
    {ZELSYSHELPER_SERVICE_START_UNKNOWN, L"SERVICE_START_UNKNOWN",
     L"the state of the service cannot be queried", L"check \"service status\""},
};

int report(const std::wstring& what, std::int64_t result) {
    const auto code = static_cast<std::int32_t>(result);
    field("errorNumber", code);
    if (code == 0)
        return kDone;
    const CodeText* row = std::ranges::find(kCodes, code, &CodeText::code);
    if (row == std::end(kCodes))
        return fail(what, windowsError(static_cast<std::uint32_t>(code)));
    return fail(what, {.number = code, .name = row->name, .text = row->text, .advice = row->advice});
}

int install(const Library& library, const std::wstring& argument) {
    // The service manager resolves a relative path against the system folder.
    const std::wstring path = fullPath(argument);
    const std::wstring what = L"Cannot register the update service with the program " + path;
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return fail(what, windowsError(GetLastError()));
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return fail(what, {.text = L"it is a folder", .advice = L"name the executable file"});
    field("program", path);
    return report(what, library.installService(path.c_str()));
}

int status(const Library& library, const std::wstring&) {
    std::uint8_t isInstalled = 0;
    library.isServiceInstalled(&isInstalled);
    flag("installed", isInstalled != 0);
    if (isInstalled == 0) {
        print(L"not installed");
        return kFailed;
    }
    const ServiceState state = updateServiceState();
    field("state", state.text);
    print(std::wstring(L"installed, ") + state.text);
    return state.error == ERROR_SUCCESS
               ? int{kDone}
               : fail(L"Cannot query the state of the update service", windowsError(state.error));
}

int stopOther(const Library& library, const std::wstring& name) {
    const std::wstring what = L"Cannot stop the service " + name;
    if (library.isServicePresent(name.c_str()) == 0)
        return fail(what, windowsError(ERROR_SERVICE_DOES_NOT_EXIST));
    return report(what, library.stopSystemService(name.c_str()));
}

struct Action {
    const wchar_t* name;
    std::size_t arguments;
    int (*run)(const Library& library, const std::wstring& argument);
};

constexpr Action kActions[] = {
    {L"install", 1, install},
    {L"start", 0,
     [](const Library& library, const std::wstring&) {
         return report(L"Cannot start the update service", library.startService());
     }},
    {L"stop", 0,
     [](const Library& library, const std::wstring&) {
         return report(L"Cannot stop the update service", library.stopService());
     }},
    {L"status", 0, status},
    {L"update", 0,
     [](const Library& library, const std::wstring&) {
         return report(L"Cannot update the description of the update service", library.updateService());
     }},
    {L"uninstall", 0,
     [](const Library& library, const std::wstring&) {
         return report(L"Cannot remove the update service", library.uninstallService());
     }},
    {L"stop-other", 1, stopOther},
};

int runService(const Library& library, const Parameters& parameters) {
    const Arguments& arguments = parameters.positional;
    for (const Action& action : kActions)
        if (!arguments.empty() && arguments[0] == action.name && arguments.size() == action.arguments + 1)
            return action.run(library, arguments.back());
    return wrongUsage(kServiceCommand, L"service requires an action and its arguments");
}

int runRaise(const Library& library, const Parameters& parameters) {
    if (parameters.positional.size() != 1)
        return wrongUsage(kRaiseCommand, L"raise requires the name of one application");
    const bool isRaised = library.bringRuningAppToTop(toUtf8(parameters.positional[0]).c_str()) != 0;
    print(isRaised ? L"raised" : L"no running instance replied");
    flag("raised", isRaised);
    return isRaised ? kDone : kFailed;
}

} // namespace

const Command kServiceCommand{
    L"service",
    L"service install PATH          Registers the suite's update service with its program.\n"
    L"service start|stop|update|uninstall\n"
    L"service status                Prints whether it is installed, and its state.\n"
    L"service stop-other NAME       Stops any service.",
    {},
    runService,
};

const Command kRaiseCommand{
    L"raise",
    L"raise NAME                    Brings the running instance of an application to the front.",
    {},
    runRaise,
};

} // namespace host
