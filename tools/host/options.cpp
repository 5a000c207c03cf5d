#include "options.h"

#include <algorithm>
#include <cwchar>

namespace host {
namespace {

constexpr Option kProgramOptions[] = {
    {L"--json", false}, {L"--dll", true}, {L"--help", false},
    {L"-h", false},     {L"/?", false},   {L"--version", false},
};

const Option* find(std::span<const Option> options, const std::wstring& name) {
    const auto option = std::ranges::find(options, name, &Option::name);
    return option != options.end() ? &*option : nullptr;
}

void takeProgramOption(const std::wstring& name, const std::wstring& value, CommandLine& line) {
    if (name == L"--json")
        line.isJson = true;
    else if (name == L"--dll")
        line.dll = value;
    else if (name == L"--version")
        line.wantsVersion = true;
    else
        line.wantsHelp = true;
}

} // namespace

std::wstring Parameters::value(std::wstring_view option) const {
    const auto found = options.find(option);
    return found != options.end() ? found->second : std::wstring();
}

CommandLine parseCommandLine(const Arguments& arguments, const OptionsOf& optionsOf) {
    CommandLine line;
    const auto fault = [&](const std::wstring& text) {
        if (line.problem.empty())
            line.problem = text;
    };
    std::span<const Option> ownOptions;
    bool isLiteral = false; // after "--"
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::wstring& argument = arguments[i];
        const Option* const program = isLiteral ? nullptr : find(kProgramOptions, argument);
        const Option* own = isLiteral ? nullptr : find(ownOptions, argument);
        if (program != nullptr && (i + 1 == arguments.size() || find(kProgramOptions, arguments[i + 1])))
            own = nullptr; // "event --version --json": no value follows
        const Option* const option = own != nullptr ? own : program;
        if (option != nullptr) {
            if (option->takesValue && i + 1 == arguments.size())
                fault(argument + L" requires a value");
            const std::wstring value =
                option->takesValue && i + 1 < arguments.size() ? arguments[++i] : std::wstring();
            if (own != nullptr)
                line.parameters.options[std::wstring(option->name)] = value;
            else
                takeProgramOption(std::wstring(option->name), value, line);
        } else if (!isLiteral && argument == L"--") {
            isLiteral = true;
        } else if (!isLiteral && argument.starts_with(L"--")) {
            fault(L"Unknown option " + argument);
        } else if (line.command.empty()) {
            line.command = argument;
            ownOptions = optionsOf(argument);
        } else {
            line.parameters.positional.push_back(argument);
        }
    }
    return line;
}

std::uint32_t wholeNumber(const std::wstring& text, std::uint32_t limit) {
    const bool isNumber = text.find_first_not_of(L"0123456789") == text.npos;
    const auto value = isNumber ? _wcstoui64(text.c_str(), nullptr, 10) : 0;
    return value <= limit ? static_cast<std::uint32_t>(value) : 0;
}

} // namespace host
