#include "commands.h"
#include "console.h"
#include "errors.h"

#include <algorithm>
#include <iterator>

namespace host {
namespace {

struct CodeText {
    std::int32_t code;
    const wchar_t* text;
};

constexpr CodeText kCodes[] = {
    {ZELSYSHELPER_SERVICE_NO_MANAGER,
     L"(SERVICE_NO_MANAGER): the service manager cannot be opened; run this as an administrator"},
    {ZELSYSHELPER_SERVICE_NOT_OPENED,
     L"(SERVICE_NOT_OPENED): the service cannot be opened, or the path is not "
     L"usable; is it installed? are you an administrator?"},
    {ZELSYSHELPER_SERVICE_FAILED,
     L"(SERVICE_FAILED): the service manager refused; run this as an administrator"},
    {ZELSYSHELPER_SERVICE_STOP_REFUSED,
     L"(SERVICE_STOP_REFUSED): the service refused to stop; perhaps it is stopped already"},
    {ZELSYSHELPER_SERVICE_STOP_UNKNOWN,
     L"(SERVICE_STOP_UNKNOWN): the service's state cannot be found out; try again"},
    {ZELSYSHELPER_SERVICE_STOP_STUCK,
     L"(SERVICE_STOP_STUCK): the service is stopping and does not get on; end its process"},
    {ZELSYSHELPER_SERVICE_START_UNKNOWN,
     L"(SERVICE_START_UNKNOWN): the service's state cannot be found out; look at \"service status\""},
};

int report(std::int64_t result) {
    const auto code = static_cast<std::int32_t>(result);
    field("code", code);
    if (code == 0)
        return kDone;
    const CodeText* row = std::ranges::find(kCodes, code, &CodeText::code);
    complain(row != std::end(kCodes) ? std::to_wstring(code) + L" " + row->text
                                     : L"error " + describeError(static_cast<std::uint32_t>(code)));
    return kFailed;
}

int status(const Library& library) {
    std::uint8_t isInstalled = 0;
    library.isServiceInstalled(&isInstalled);
    print(isInstalled != 0 ? L"installed" : L"not installed");
    flag("installed", isInstalled != 0);
    return isInstalled != 0 ? kDone : kFailed;
}

struct Action {
    const wchar_t* name;
    std::size_t arguments;
    int (*run)(const Library& library, const wchar_t* argument);
};

constexpr Action kActions[] = {
    {L"install", 1,
     [](const Library& library, const wchar_t* path) { return report(library.installService(path)); }},
    {L"start", 0, [](const Library& library, const wchar_t*) { return report(library.startService()); }},
    {L"stop", 0, [](const Library& library, const wchar_t*) { return report(library.stopService()); }},
    {L"status", 0, [](const Library& library, const wchar_t*) { return status(library); }},
    {L"update", 0, [](const Library& library, const wchar_t*) { return report(library.updateService()); }},
    {L"uninstall", 0,
     [](const Library& library, const wchar_t*) { return report(library.uninstallService()); }},
    {L"stop-other", 1,
     [](const Library& library, const wchar_t* name) {
         if (library.isServicePresent(name) == 0) {
             complain(std::wstring(L"no service ") + name);
             return int{kFailed};
         }
         return report(library.stopSystemService(name));
     }},
};

int runService(const Library& library, const Arguments& arguments) {
    for (const Action& action : kActions)
        if (!arguments.empty() && arguments[0] == action.name && arguments.size() == action.arguments + 1)
            return action.run(library, arguments.back().c_str());
    return wrongUsage(kServiceCommand, L"what is to be done with which service?");
}

int runRaise(const Library& library, const Arguments& arguments) {
    if (arguments.size() != 1)
        return wrongUsage(kRaiseCommand, L"raise wants the name of one application");
    const bool isRaised = library.bringRuningAppToTop(toUtf8(arguments[0]).c_str()) != 0;
    print(isRaised ? L"raised" : L"no other instance has answered");
    flag("raised", isRaised);
    return isRaised ? kDone : kFailed;
}

} // namespace

const Command kServiceCommand{
    L"service",
    L"service install PATH          Registers the suite's update service with its program.\n"
    L"service start|stop|update|uninstall\n"
    L"service status                Tells whether it is installed.\n"
    L"service stop-other NAME       Stops any service.",
    runService,
};

const Command kRaiseCommand{
    L"raise",
    L"raise NAME                    Brings the running instance of an application to the front.",
    runRaise,
};

} // namespace host
