#include "commands.h"
#include "console.h"

#include <array>
#include <iterator>

namespace host {
namespace {

struct Field {
    const wchar_t* option;
    bool onlyFull;
};

// In the order of the parameters of sendAppEventFull().
constexpr Field kFields[] = {
    {L"--name", false},     {L"--source", false},  {L"--info-type", false},   {L"--info", false},
    {L"--app-id", false},   {L"--version", false}, {L"--adv-type", false},    {L"--camp-type", false},
    {L"--inst-type", true}, {L"--inst-ref", true}, {L"--inst-channel", true}, {L"--guid", false},
    {L"--build", false},
};
constexpr std::size_t kFieldCount = std::size(kFields);

int run(const Library& library, const Arguments& arguments) {
    std::array<std::string, kFieldCount> values;
    bool isFull = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == L"--full") {
            isFull = true;
            continue;
        }
        std::size_t field = 0;
        while (field < kFieldCount && arguments[i] != kFields[field].option)
            ++field;
        if (field == kFieldCount)
            return wrongUsage(kEventCommand, L"unknown option " + arguments[i]);
        if (i + 1 == arguments.size())
            return wrongUsage(kEventCommand, arguments[i] + L" wants a value");
        values[field] = toUtf8(arguments[++i]);
        isFull = isFull || kFields[field].onlyFull;
    }

    const auto value = [&](std::size_t field) { return values[field].c_str(); };
    if (isFull)
        library.sendAppEventFull(value(0), value(1), value(2), value(3), value(4), value(5), value(6),
                                 value(7), value(8), value(9), value(10), value(11), value(12));
    else
        library.sendAppEvent(value(0), value(1), value(2), value(3), value(4), value(5), value(6), value(7),
                             value(11), value(12));
    print(L"Done; whether it arrived is told in the log (logs\\Quenlith.log below %APPDATA%, \"Level\" 7).");
    return kDone;
}

} // namespace

const Command kEventCommand{
    L"event",
    L"event [--full] [OPTION VALUE]...\n"
    L"    Sends one usage event and waits until the exchange is over.\n"
    L"    --name --source --info-type --info --app-id --version --adv-type --camp-type --guid --build\n"
    L"    --inst-type --inst-ref --inst-channel   with one of these, or with --full, the event also tells\n"
    L"                                            about the installation",
    run,
};

} // namespace host
