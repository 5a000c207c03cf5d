#include "commands.h"
#include "console.h"
#include "errors.h"

#include <map>

namespace host {
namespace {

constexpr std::size_t kBarWidth = 50;
constexpr std::uint32_t kMostDraws = 10'000'000;

constexpr Option kAdvTypeOptions[] = {{L"--draws", true}};

int runOsVersion(const Library& library, const Parameters& parameters) {
    if (!parameters.positional.empty())
        return wrongUsage(kOsVersionCommand, L"os-version takes no arguments");
    wchar_t text[7] = L"";
    const bool isKnown = library.getOsVersion(text) != 0;
    field("version", text);
    print(isKnown ? text : L"neither Windows 10 nor Windows 11");
    return isKnown ? kDone : kFailed;
}

int runIsRunning(const Library& library, const Parameters& parameters) {
    if (parameters.positional.size() != 1)
        return wrongUsage(kIsRunningCommand, L"is-running requires the name of one executable");
    return answer("running", library.isModuleLoaded(toUtf8(parameters.positional[0]).c_str()) != 0);
}

void printHistogram(const std::map<char, std::size_t>& counts, std::size_t draws) {
    for (const auto& [letter, count] : counts) {
        field(std::string(1, letter), static_cast<std::int64_t>(count));
        print(toWide(std::string(1, letter)) + L" " + std::wstring(count * kBarWidth / draws, L'#') + L" " +
              std::to_wstring(count));
    }
}

int runAdvType(const Library& library, const Parameters& parameters) {
    const bool isSeries = parameters.has(L"--draws");
    const std::uint32_t draws = isSeries ? wholeNumber(parameters.value(L"--draws"), kMostDraws) : 1;
    if (parameters.positional.size() != 1 || draws == 0)
        return wrongUsage(kAdvTypeCommand,
                          L"adv-type requires one definition; --draws a number from 1 to 10000000");
    const std::string definition = toUtf8(parameters.positional[0]);
    std::map<char, std::size_t> counts;
    for (std::uint32_t i = 0; i < draws; ++i) {
        std::uint8_t letter = 0;
        library.parseTestDefAndDecideAdvType(definition.c_str(), &letter);
        if (letter == 0)
            return fail(L"No variant in the definition \"" + parameters.positional[0] + L"\"",
                        {.advice = L"write letters and weights, such as \"A70 B30\""});
        ++counts[static_cast<char>(letter)];
    }
    if (isSeries) {
        printHistogram(counts, draws);
        return kDone;
    }
    const std::wstring drawn = toWide(std::string(1, counts.begin()->first));
    print(drawn);
    field("letter", drawn);
    return kDone;
}

} // namespace

const Command kOsVersionCommand{
    L"os-version",
    L"os-version                    Prints 10.0.0 or 11.0.0. Fails on other systems.",
    {},
    runOsVersion,
};

const Command kIsRunningCommand{
    L"is-running",
    L"is-running NAME.EXE           Prints yes if a process of this executable runs, otherwise no.",
    {},
    runIsRunning,
};

const Command kAdvTypeCommand{
    L"adv-type",
    L"adv-type DEFINITION [--draws N]\n"
    L"                              Draws a variant of a split test, such as \"A70 B30\". With --draws, N "
    L"times,\n"
    L"                              and prints how often it drew each.",
    kAdvTypeOptions,
    runAdvType,
};

} // namespace host
