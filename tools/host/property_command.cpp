#include "commands.h"
#include "console.h"

#include <iterator>

namespace host {
namespace {

/// Characters of the largest value that `get` shows.
constexpr std::uint32_t kLargestValue = 4 * 1024 * 1024;

constexpr std::wstring_view kEnciphered = L"--enciphered";

int explain(std::uint64_t status, const std::wstring& file, const std::wstring& key) {
    field("status", static_cast<std::int64_t>(status));
    switch (status) {
    case ZELSYSHELPER_NO_KEY:
        complain(L"100000 (NO_KEY): no key \"" + key + L"\" in " + file + L"; keys are case-sensitive");
        break;
    case ZELSYSHELPER_NO_FILE:
        complain(L"100002 (NO_FILE): no file " + file +
                 L"; check the path, or make the file with \"property set\"");
        break;
    default:
        complain(std::to_wstring(status) + L" (FILE_FAILED): cannot read " + file +
                 L"; check its permissions, and that no other program keeps it to itself");
    }
    return kFailed;
}

int get(const Library& library, const Arguments& arguments) {
    const std::string key = toUtf8(arguments[1]);
    std::wstring buffer(kLargestValue, L'\0');
    const auto status =
        library.getValueFromPropertyFile(arguments[0].c_str(), key.c_str(), buffer.data(), kLargestValue);
    if (status != 0)
        return explain(status, arguments[0], arguments[1]);
    field("value", buffer.c_str());
    print(buffer.c_str());
    return kDone;
}

/// Complains of a key or a value that a file cannot hold.
bool cannotBeKept(const std::wstring& key, const std::wstring& value) {
    const bool isFound =
        (key + value).find_first_of(L"\r\n") != std::wstring::npos || key.find(L'=') != key.npos;
    if (isFound)
        complain(L"a file cannot hold line breaks in keys and values, nor \"=\" in keys");
    return isFound;
}

int set(const Library& library, const Arguments& arguments) {
    if (cannotBeKept(arguments[1], arguments[2]))
        return kUsage;
    const std::string key = toUtf8(arguments[1]);
    library.setValueInPropertyFile(arguments[0].c_str(), key.c_str(), arguments[2].c_str());
    // The result does not tell whether the value was written, so look.
    std::wstring buffer(arguments[2].size() + 2, L'\0');
    const auto status = library.getValueFromPropertyFile(arguments[0].c_str(), key.c_str(), buffer.data(),
                                                         static_cast<std::uint32_t>(buffer.size()));
    const bool isRemoved =
        arguments[2].empty() && (status == ZELSYSHELPER_NO_KEY || status == ZELSYSHELPER_NO_FILE);
    buffer.resize(buffer.find(L'\0'));
    if (isRemoved || (status == 0 && buffer == arguments[2]))
        return kDone;
    complain(L"the value did not get into " + arguments[0] +
             L"; check that its folder is there and the file can be written");
    return kFailed;
}

int integer(const Library& library, const Arguments& arguments) {
    const std::string key = toUtf8(arguments[1]);
    const auto number =
        static_cast<std::int32_t>(library.getIntFromPropertyFile(arguments[0].c_str(), key.c_str()));
    field("value", number);
    print(std::to_wstring(number));
    // The library cannot tell these from stored numbers; asking for the text can.
    wchar_t unused = 0;
    const auto status = library.getValueFromPropertyFile(arguments[0].c_str(), key.c_str(), &unused, 1);
    return status == 0 ? kDone : explain(status, arguments[0], arguments[1]);
}

int filled(const Library& library, const Arguments& arguments) {
    const std::string key = toUtf8(arguments[1]);
    return answer("filled", library.isValueFromPropertyFileNotEmpty(arguments[0].c_str(), key.c_str()) != 0);
}

// For `read`, `write` and `check`: an argument behind those that they want can only be --enciphered.

int read(const Library& library, const Arguments& arguments) {
    const std::string key = toUtf8(arguments[1]);
    const wchar_t* const file = arguments[0].c_str();
    const std::uint8_t form = arguments.size() > 2;
    if (library.checkProperty(file, key.c_str(), form) == 0) {
        complain(L"no key \"" + arguments[1] + L"\" in " + arguments[0] + L", or no such file");
        return kFailed;
    }
    std::wstring buffer(library.readProperty(file, key.c_str(), nullptr, 0, form) + 2, L'\0');
    library.readProperty(file, key.c_str(), buffer.data(), static_cast<std::uint32_t>(buffer.size()), form);
    field("value", buffer.c_str());
    print(buffer.c_str());
    return kDone;
}

int write(const Library& library, const Arguments& arguments) {
    if (cannotBeKept(arguments[1], arguments[2]))
        return kUsage;
    const std::string key = toUtf8(arguments[1]);
    const auto status =
        library.writeProperty(arguments[0].c_str(), key.c_str(), arguments[2].c_str(), arguments.size() > 3);
    if (status == 0)
        return kDone;
    complain(std::to_wstring(status) + L": the value did not get into " + arguments[0] +
             L"; check that its folder is there and the file can be written");
    return kFailed;
}

int check(const Library& library, const Arguments& arguments) {
    const std::string key = toUtf8(arguments[1]);
    return answer("there",
                  library.checkProperty(arguments[0].c_str(), key.c_str(), arguments.size() > 2) != 0);
}

struct Action {
    const wchar_t* name;
    std::size_t arguments;
    bool hasForms; ///< Whether --enciphered may follow.
    int (*run)(const Library& library, const Arguments& arguments);
};

constexpr Action kActions[] = {{L"get", 2, false, get},     {L"set", 3, false, set},
                               {L"int", 2, false, integer}, {L"filled", 2, false, filled},
                               {L"read", 2, true, read},    {L"write", 3, true, write},
                               {L"check", 2, true, check}};

int run(const Library& library, const Arguments& arguments) {
    if (arguments.empty())
        return wrongUsage(kPropertyCommand, L"what is to be done with the property?");
    for (const Action& action : kActions) {
        if (arguments[0] != action.name)
            continue;
        const Arguments rest(arguments.begin() + 1, arguments.end());
        const bool hasOption =
            action.hasForms && rest.size() > action.arguments && rest.back() == kEnciphered;
        if (rest.size() != action.arguments + (hasOption ? 1 : 0))
            return wrongUsage(kPropertyCommand, L"property " + arguments[0] + L" wants " +
                                                    std::to_wstring(action.arguments) + L" arguments");
        return action.run(library, rest);
    }
    return wrongUsage(kPropertyCommand, L"unknown action " + arguments[0]);
}

int runSwitch(const Library& library, const Arguments& arguments) {
    const std::wstring action = arguments.empty() ? L"" : arguments[0];
    if (arguments.size() > 1 && arguments[1].empty())
        return wrongUsage(kSwitchCommand, L"the file's name is empty");
    if (arguments.size() == 3 && cannotBeKept(arguments[2], {}))
        return kUsage;
    if (action == L"clear" && arguments.size() == 2)
        library.clearFx(arguments[1].c_str());
    else if ((action == L"on" || action == L"off") && arguments.size() == 3)
        library.enableFx(arguments[1].c_str(), toUtf8(arguments[2]).c_str(), action == L"on");
    else
        return wrongUsage(kSwitchCommand, L"which switch of which file is to be on or off?");
    return kDone;
}

} // namespace

const Command kPropertyCommand{
    L"property",
    L"property get FILE KEY         Prints a value.\n"
    L"property set FILE KEY VALUE   Sets a value; an empty one removes the key.\n"
    L"property int FILE KEY         Prints a value as an integer, -1000 when the key is not there,\n"
    L"                              100002 when the file is not, 100004 when it cannot be read.\n"
    L"property filled FILE KEY      Prints yes or no: does the file hold a value that is not empty?\n"
    L"property read FILE KEY [--enciphered]\n"
    L"property write FILE KEY VALUE [--enciphered]\n"
    L"property check FILE KEY [--enciphered]\n"
    L"                              The same by the functions that know enciphered files too.",
    run,
};

const Command kSwitchCommand{
    L"switch",
    L"switch on|off NAME SWITCH     Sets a switch of the file NAME.fx in the suite's settings folder.\n"
    L"switch clear NAME             Empties that file.",
    runSwitch,
};

} // namespace host
