#include "commands.h"
#include "console.h"

#include <cstdlib>
#include <map>

namespace host {
namespace {

constexpr std::size_t kBarWidth = 50;
constexpr std::size_t kMostDraws = 10'000'000;

int runOsVersion(const Library& library, const Arguments& arguments) {
    if (!arguments.empty())
        return wrongUsage(kOsVersionCommand, L"os-version takes no arguments");
    wchar_t text[7] = L"";
    const bool isKnown = library.getOsVersion(text) != 0;
    field("version", text);
    print(isKnown ? text : L"neither Windows 10 nor Windows 11");
    return isKnown ? kDone : kFailed;
}

int runIsRunning(const Library& library, const Arguments& arguments) {
    if (arguments.size() != 1)
        return wrongUsage(kIsRunningCommand, L"is-running wants the name of one executable");
    return answer("running", library.isModuleLoaded(toUtf8(arguments[0]).c_str()) != 0);
}

void printHistogram(const std::map<std::uint8_t, std::size_t>& counts, std::size_t draws) {
    for (const auto& [letter, count] : counts) {
        field(std::string(1, static_cast<char>(letter)), static_cast<std::int64_t>(count));
        print(std::wstring(1, letter) + L" " + std::wstring(count * kBarWidth / draws, L'#') + L" " +
              std::to_wstring(count));
    }
}

int runAdvType(const Library& library, const Arguments& arguments) {
    const bool isSeries = arguments.size() == 3 && arguments[1] == L"--draws";
    wchar_t* end = nullptr;
    const std::size_t draws = isSeries ? std::wcstoul(arguments[2].c_str(), &end, 10) : 1;
    const bool isNumber = !isSeries || (*end == L'\0' && draws > 0 && draws <= kMostDraws);
    if ((arguments.size() != 1 && !isSeries) || !isNumber)
        return wrongUsage(kAdvTypeCommand, L"adv-type wants a definition, and from 1 to 10000000 draws");
    std::map<std::uint8_t, std::size_t> counts;
    for (std::size_t i = 0; i < draws; ++i) {
        std::uint8_t letter = 0;
        library.parseTestDefAndDecideAdvType(toUtf8(arguments[0]).c_str(), &letter);
        if (letter == 0) {
            complain(L"the definition has no variant; write it as \"A70 B30\"");
            return kFailed;
        }
        ++counts[letter];
    }
    if (isSeries)
        printHistogram(counts, draws);
    else
        print(std::wstring(1, counts.begin()->first));
    if (!isSeries)
        field("letter", std::wstring(1, counts.begin()->first));
    return kDone;
}

} // namespace

const Command kOsVersionCommand{
    L"os-version",
    L"os-version                    Prints 10.0.0 or 11.0.0.",
    runOsVersion,
};

const Command kIsRunningCommand{
    L"is-running",
    L"is-running NAME.EXE           Prints yes or no: does a process of this executable run?",
    runIsRunning,
};

const Command kAdvTypeCommand{
    L"adv-type",
    L"adv-type DEFINITION [--draws N]\n"
    L"                              Draws a variant of a split test, such as \"A70 B30\"; with a number, so "
    L"many\n"
    L"                              times, and prints how often each came.",
    runAdvType,
};

} // namespace host
