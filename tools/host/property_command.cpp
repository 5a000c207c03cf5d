#include "commands.h"
#include "console.h"
#include "errors.h"
#include "property_value.h"
#include "win32/known_folders.h"
#include "win32/path.h"

#include <iterator>

namespace host {
namespace {

/// Capacity of the buffer of `get`, in characters.
constexpr std::uint32_t kLargestValue = 4 * 1024 * 1024;

constexpr std::wstring_view kEnciphered = L"--enciphered";
constexpr Option kPropertyOptions[] = {{kEnciphered, false}};

/// What an action of the command works on. Only `set` and `write` have a value.
struct Property {
    std::wstring file, key, value;
    std::string narrowKey;
    bool isEnciphered;

    std::wstring named() const { return L"the key \"" + key + L"\" of " + file; }
};

int explain(std::uint64_t status, const std::wstring& what) {
    field("errorNumber", static_cast<std::int64_t>(status));
    switch (status) {
    case 0:
        return kDone;
    case ZELSYSHELPER_NO_KEY:
        return fail(what, {.number = ZELSYSHELPER_NO_KEY,
                           .name = L"NO_KEY",
                           .text = L"the file has no such key",
                           .advice = L"check upper and lower case"});
    case ZELSYSHELPER_NO_FILE:
        return fail(what, {.number = ZELSYSHELPER_NO_FILE,
                           .name = L"NO_FILE",
                           .text = L"there is no such file",
                           .advice = L"check the path, or create the file with \"property set\""});
    default:
        return fail(what, {.number = static_cast<std::int64_t>(status),
                           .name = L"FILE_FAILED",
                           .text = L"the file cannot be opened, read or written",
                           .advice = L"check its folder and permissions, and close programs that use it"});
    }
}

int get(const Library& library, const Property& property) {
    std::wstring buffer(kLargestValue, L'\0');
    const auto status = library.getValueFromPropertyFile(property.file.c_str(), property.narrowKey.c_str(),
                                                         buffer.data(), kLargestValue);
    if (status == 0) {
        // The library does not report a value that it did not copy.
        if (buffer[0] == L'\0' &&
            library.isValueFromPropertyFileNotEmpty(property.file.c_str(), property.narrowKey.c_str()) != 0)
            return fail(L"Cannot read " + property.named(),
                        {.text = L"the value is longer than " + std::to_wstring(kLargestValue - 2) +
                                 L" characters, or is not valid UTF-8",
                         .advice = L"try \"property read\""});
        const wchar_t* const value = buffer.c_str(); // up to its null character
        field("value", value);
        print(value);
    }
    return explain(status, L"Cannot read " + property.named());
}

/// Returns why a file cannot hold the key and the value; empty if it can.
std::wstring cannotBeKept(const std::wstring& key, const std::wstring& value) {
    const bool isFound =
        (key + value).find_first_of(L"\r\n") != std::wstring::npos || key.find(L'=') != key.npos;
    return isFound ? L"A property file cannot store a line break, nor \"=\" in a key" : L"";
}

int set(const Library& library, const Property& property) {
    library.setValueInPropertyFile(property.file.c_str(), property.narrowKey.c_str(), property.value.c_str());
    // The result does not show whether the value was written.
    std::wstring buffer(property.value.size() + 2, L'\0');
    const auto status =
        library.getValueFromPropertyFile(property.file.c_str(), property.narrowKey.c_str(), buffer.data(),
                                         static_cast<std::uint32_t>(buffer.size()));
    const bool isRemoved =
        property.value.empty() && (status == ZELSYSHELPER_NO_KEY || status == ZELSYSHELPER_NO_FILE);
    buffer.resize(buffer.find(L'\0'));
    if (isRemoved || (status == 0 && buffer == property.value))
        return kDone;
    return explain(ZELSYSHELPER_FILE_FAILED, L"Cannot write " + property.named());
}

int integer(const Library& library, const Property& property) {
    const auto number = static_cast<std::int32_t>(
        library.getIntFromPropertyFile(property.file.c_str(), property.narrowKey.c_str()));
    field("value", number);
    print(std::to_wstring(number));
    // A stored number can equal a failure value. The status of getValueFromPropertyFile() is unambiguous.
    wchar_t unused = 0;
    return explain(
        library.getValueFromPropertyFile(property.file.c_str(), property.narrowKey.c_str(), &unused, 1),
        L"Cannot read " + property.named());
}

int filled(const Library& library, const Property& property) {
    return answer("filled", library.isValueFromPropertyFileNotEmpty(property.file.c_str(),
                                                                    property.narrowKey.c_str()) != 0);
}

bool isThere(const Library& library, const Property& property) {
    return library.checkProperty(property.file.c_str(), property.narrowKey.c_str(), property.isEnciphered) !=
           0;
}

int read(const Library& library, const Property& property) {
    if (!isThere(library, property))
        return fail(L"Cannot read " + property.named(),
                    {.text = L"there is no such key or no such file", .advice = L"check path and key"});
    const std::wstring value =
        propertyValue(library, property.file, property.narrowKey, property.isEnciphered);
    field("value", value);
    print(value);
    return kDone;
}

int write(const Library& library, const Property& property) {
    return explain(library.writeProperty(property.file.c_str(), property.narrowKey.c_str(),
                                         property.value.c_str(), property.isEnciphered),
                   L"Cannot write " + property.named());
}

int check(const Library& library, const Property& property) {
    return answer("there", isThere(library, property));
}

struct Action {
    const wchar_t* name;
    std::size_t arguments;
    bool hasForms; ///< Whether the action accepts --enciphered.
    int (*run)(const Library& library, const Property& property);
};

constexpr Action kActions[] = {{L"get", 2, false, get},     {L"set", 3, false, set},
                               {L"int", 2, false, integer}, {L"filled", 2, false, filled},
                               {L"read", 2, true, read},    {L"write", 3, true, write},
                               {L"check", 2, true, check}};

int run(const Library& library, const Parameters& parameters) {
    const Arguments& arguments = parameters.positional;
    if (arguments.empty())
        return wrongUsage(kPropertyCommand, L"property requires an action");
    const bool isEnciphered = parameters.has(kEnciphered);
    for (const Action& action : kActions) {
        if (arguments[0] != action.name)
            continue;
        if (arguments.size() != action.arguments + 1)
            return wrongUsage(kPropertyCommand, L"property " + arguments[0] + L" requires " +
                                                    std::to_wstring(action.arguments) + L" arguments");
        if (isEnciphered && !action.hasForms)
            return wrongUsage(kPropertyCommand, L"property " + arguments[0] + L" does not take --enciphered");
        const Property property{.file = arguments[1],
                                .key = arguments[2],
                                .value = arguments.size() > 3 ? arguments[3] : L"",
                                .narrowKey = toUtf8(arguments[2]),
                                .isEnciphered = isEnciphered};
        const std::wstring problem =
            arguments.size() > 3 ? cannotBeKept(property.key, property.value) : std::wstring();
        return problem.empty() ? action.run(library, property) : wrongUsage(kPropertyCommand, problem);
    }
    return wrongUsage(kPropertyCommand, L"Unknown action " + arguments[0]);
}

/// Returns the path of a switch file; empty if the name leads out of the settings folder: to another folder,
/// to a stream of another file, or to a device.
std::wstring switchFile(const std::wstring& name) {
    const std::wstring roaming = win32::knownFolder(win32::KnownFolder::roamingAppData, {});
    const std::wstring path = win32::joinPath(win32::joinPath(roaming, win32::kBrandFolder), name + L".fx");
    const bool isInside = !name.empty() && name.find_first_of(L"\\/:") == name.npos && fullPath(path) == path;
    return isInside ? path : std::wstring();
}

int clearSwitches(const Library& library, const std::wstring& name, const std::wstring& path) {
    library.clearFx(name.c_str());
    WIN32_FILE_ATTRIBUTE_DATA data{};
    const bool isEmpty = !GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data) ||
                         (data.nFileSizeHigh == 0 && data.nFileSizeLow == 0);
    return isEmpty ? int{kDone} : explain(ZELSYSHELPER_FILE_FAILED, L"Cannot empty " + path);
}

int runSwitch(const Library& library, const Parameters& parameters) {
    const Arguments& arguments = parameters.positional;
    const bool isClear = arguments.size() == 2 && arguments[0] == L"clear";
    const bool isOn = arguments.size() == 3 && arguments[0] == L"on";
    if (!isClear && !isOn && (arguments.size() != 3 || arguments[0] != L"off"))
        return wrongUsage(kSwitchCommand,
                          L"switch requires on or off, a name and a switch, or clear and a name");
    const std::wstring path = switchFile(arguments[1]);
    if (path.empty())
        return wrongUsage(kSwitchCommand,
                          L"\"" + arguments[1] + L"\" is not a valid file name in the settings folder");
    if (isClear)
        return clearSwitches(library, arguments[1], path);
    if (const std::wstring problem = cannotBeKept(arguments[2], {}); !problem.empty())
        return wrongUsage(kSwitchCommand, problem);
    const Property property{.file = path,
                            .key = arguments[2],
                            .value = {},
                            .narrowKey = toUtf8(arguments[2]),
                            .isEnciphered = true};
    library.enableFx(arguments[1].c_str(), property.narrowKey.c_str(), isOn);
    // enableFx() does not report a failed write.
    if (isThere(library, property) &&
        propertyValue(library, path, property.narrowKey, true) == (isOn ? L"1" : L"0"))
        return kDone;
    return explain(ZELSYSHELPER_FILE_FAILED, L"Cannot write " + property.named());
}

} // namespace

const Command kPropertyCommand{
    L"property",
    L"property get FILE KEY         Prints a value.\n"
    L"property set FILE KEY VALUE   Sets a value; an empty one removes the key.\n"
    L"property int FILE KEY         Prints a value as an integer: -1000 if the key is missing,\n"
    L"                              100002 if the file is missing, 100004 if it cannot be read.\n"
    L"property filled FILE KEY      Prints yes if the value is present and not empty, otherwise no.\n"
    L"property read FILE KEY [--enciphered]\n"
    L"property write FILE KEY VALUE [--enciphered]\n"
    L"property check FILE KEY [--enciphered]\n"
    L"                              Like get and set, also in enciphered files; check prints whether\n"
    L"                              the key is present.",
    kPropertyOptions,
    run,
};

const Command kSwitchCommand{
    L"switch",
    L"switch on|off NAME SWITCH     Sets a switch of the file NAME.fx in the suite's settings folder.\n"
    L"switch clear NAME             Empties the file.",
    {},
    runSwitch,
};

} // namespace host
