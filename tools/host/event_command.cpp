#include "commands.h"
#include "console.h"

#include <array>
#include <iterator>

namespace host {
namespace {

// The fields in the order of the parameters of sendAppEventFull().
constexpr Option kOptions[] = {
    {L"--name", true},      {L"--source", true},   {L"--info-type", true},    {L"--info", true},
    {L"--app-id", true},    {L"--version", true},  {L"--adv-type", true},     {L"--camp-type", true},
    {L"--inst-type", true}, {L"--inst-ref", true}, {L"--inst-channel", true}, {L"--guid", true},
    {L"--build", true},     {L"--full", false},
};
constexpr std::size_t kFieldCount = 13;

void send(const Library& library, const Parameters& parameters) {
    std::array<std::string, kFieldCount> values;
    for (std::size_t field = 0; field < kFieldCount; ++field)
        values[field] = toUtf8(parameters.value(kOptions[field].name));
    const auto value = [&](std::size_t field) { return values[field].c_str(); };
    if (parameters.has(L"--full") || parameters.has(L"--inst-type") || parameters.has(L"--inst-ref") ||
        parameters.has(L"--inst-channel"))
        library.sendAppEventFull(value(0), value(1), value(2), value(3), value(4), value(5), value(6),
                                 value(7), value(8), value(9), value(10), value(11), value(12));
    else
        library.sendAppEvent(value(0), value(1), value(2), value(3), value(4), value(5), value(6), value(7),
                             value(11), value(12));
}

int run(const Library& library, const Parameters& parameters) {
    if (!parameters.positional.empty())
        return wrongUsage(kEventCommand, L"event takes options only");
    send(library, parameters);
    print(L"The call returned, which does not show whether the event arrived");
    leaveOutcomeOpen();
    return kDone;
}

} // namespace

const Command kEventCommand{
    L"event",
    L"event [--full] [OPTION VALUE]...\n"
    L"    Sends one usage event and waits until the exchange is over.\n"
    L"    --name --source --info-type --info --app-id --version --adv-type --camp-type --guid --build\n"
    L"    --inst-type --inst-ref --inst-channel   with one of these, or with --full, the event also has the\n"
    L"                                            data of the installation\n"
    L"    --version is the application's version here.",
    kOptions,
    run,
};

} // namespace host
