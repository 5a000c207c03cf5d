#include "commands.h"
#include "console.h"
#include "errors.h"
#include "event_outcome.h"
#include "interrupt.h"
#include "log_level.h"
#include "win32/known_folders.h"
#include "win32/path.h"

#include <array>

namespace host {
namespace {

/// The older name of --app-version.
constexpr std::wstring_view kOldVersionOption = L"--version";

// The fields in the order of the parameters of sendAppEventFull().
constexpr Option kOptions[] = {
    {L"--name", true},      {L"--source", true},      {L"--info-type", true},    {L"--info", true},
    {L"--app-id", true},    {L"--app-version", true}, {L"--adv-type", true},     {L"--camp-type", true},
    {L"--inst-type", true}, {L"--inst-ref", true},    {L"--inst-channel", true}, {L"--guid", true},
    {L"--build", true},     {L"--full", false},       {L"--check", false},       {kOldVersionOption, true},
};
constexpr std::size_t kFieldCount = 13, kVersionField = 5;

void send(const Library& library, const Parameters& parameters) {
    std::array<std::string, kFieldCount> values;
    for (std::size_t field = 0; field < kFieldCount; ++field)
        values[field] = toUtf8(parameters.value(kOptions[field].name));
    if (!parameters.has(kOptions[kVersionField].name))
        values[kVersionField] = toUtf8(parameters.value(kOldVersionOption));
    const auto value = [&](std::size_t field) { return values[field].c_str(); };
    if (parameters.has(L"--full") || parameters.has(L"--inst-type") || parameters.has(L"--inst-ref") ||
        parameters.has(L"--inst-channel"))
        library.sendAppEventFull(value(0), value(1), value(2), value(3), value(4), value(5), value(6),
                                 value(7), value(8), value(9), value(10), value(11), value(12));
    else
        library.sendAppEvent(value(0), value(1), value(2), value(3), value(4), value(5), value(6), value(7),
                             value(11), value(12));
}

int report(const EventOutcome& outcome, const std::wstring& logs) {
    flag("accepted", outcome.kind == EventOutcome::Kind::accepted);
    switch (outcome.kind) {
    case EventOutcome::Kind::accepted:
        print(L"The event arrived: the statistics host accepted it");
        return kDone;
    case EventOutcome::Kind::rejected:
        field("httpStatus", outcome.code);
        field("reply", outcome.reply);
        return fail(L"The statistics host rejected the event", {},
                    L" with HTTP status " + std::to_wstring(outcome.code) +
                        (outcome.reply.empty() ? L"" : L": " + outcome.reply));
    case EventOutcome::Kind::failed:
        return fail(L"The statistics host did not confirm the event", transportError(outcome.code));
    default:
        return fail(L"The log in " + logs + L" does not show whether the event arrived",
                    {.advice = L"check that it is writable and that no other program changes its level"});
    }
}

int failToRestore(const std::wstring& settings) {
    return fail(L"Cannot restore the level of the log in " + settings,
                {.advice = L"set the key Level there, or delete it for the default"});
}

int sendAndCheck(const Library& library, const Parameters& parameters) {
    std::wstring logs = win32::logsFolder({});
    if (logs.empty())
        logs = L"."; // as the library does
    CreateDirectoryW(logs.c_str(), nullptr);
    const std::wstring settings = win32::joinPath(logs, L"Quenlith.cfg");
    RaisedLogLevel level(settings);
    const InterruptCleanUp cleanUp([&] {
        const bool isRestored = level.restore();
        if (!isRestored)
            failToRestore(settings);
        return isRestored;
    });
    if (!level.raise())
        return fail(L"Cannot raise the level of the log in " + settings,
                    {.advice = L"check its permissions; no event was sent"});
    const std::string begin = logTime();
    send(library, parameters);
    const bool isRestored = level.restore();
    const int code = report(findOutcome(logs, begin), logs);
    return isRestored ? code : failToRestore(settings);
}

int run(const Library& library, const Parameters& parameters) {
    if (!parameters.positional.empty())
        return wrongUsage(kEventCommand, L"event takes options only");
    if (parameters.has(L"--check"))
        return sendAndCheck(library, parameters);
    send(library, parameters);
    print(L"The call returned; \"event --check\" also shows whether the event arrived");
    leaveOutcomeOpen();
    return kDone;
}

} // namespace

const Command kEventCommand{
    L"event",
    L"event [--check] [--full] [OPTION VALUE]...\n"
    L"    Sends one usage event and waits until the exchange is over.\n"
    L"    --name --source --info-type --info --app-id --app-version --adv-type --camp-type --guid --build\n"
    L"    --inst-type --inst-ref --inst-channel   with one of these, or with --full, the event also has the\n"
    L"                                            data of the installation\n"
    L"    --version VALUE                         is an older name of --app-version\n"
    L"    --check                                 raises the level of the library's log for this call, "
    L"prints "
    L"the\n"
    L"                                            outcome that the library logs, and fails unless the event\n"
    L"                                            arrived; without it the exit code is 0 whether or not the\n"
    L"                                            event arrived",
    kOptions,
    run,
};

} // namespace host
