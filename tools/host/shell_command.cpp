#include "commands.h"
#include "console.h"
#include "errors.h"

#include <algorithm>
#include <cwchar>
#include <iterator>

#include <objbase.h>

namespace host {
namespace {

struct Name {
    std::uint32_t code;
    const wchar_t* text;
};

constexpr Option kFolderViewOptions[] = {
    {L"--view", true}, {L"--sort", true}, {L"--group", true}, {L"--descending", false}};

constexpr Name kViews[] = {
    {ZELSYSHELPER_VIEW_ICONS, L"icons"},
    {ZELSYSHELPER_VIEW_SMALL_ICONS, L"small-icons"},
    {ZELSYSHELPER_VIEW_LIST, L"list"},
    {ZELSYSHELPER_VIEW_DETAILS, L"details"},
    {ZELSYSHELPER_VIEW_THUMBNAILS, L"thumbnails"},
    {ZELSYSHELPER_VIEW_THUMBNAIL_STRIP, L"strip"},
    {ZELSYSHELPER_VIEW_TILES, L"tiles"},
    {ZELSYSHELPER_VIEW_CONTENT, L"content"},
};

constexpr Name kColumns[] = {
    {ZELSYSHELPER_COLUMN_NONE, L"none"},         {ZELSYSHELPER_COLUMN_NAME, L"name"},
    {ZELSYSHELPER_COLUMN_SIZE, L"size"},         {ZELSYSHELPER_COLUMN_TYPE, L"type"},
    {ZELSYSHELPER_COLUMN_MODIFIED, L"modified"}, {ZELSYSHELPER_COLUMN_OTHER, L"other"},
};

template <std::size_t size>
std::wstring nameOf(const Name (&names)[size], std::uint32_t code) {
    const Name* name = std::ranges::find(names, code, &Name::code);
    return name != std::end(names) ? name->text : L"unknown";
}

/// Returns the code of a name; 0 for an unknown name.
template <std::size_t size>
std::uint32_t codeOf(const Name (&names)[size], const std::wstring& text) {
    const Name* name =
        std::ranges::find(names, text, [](const Name& n) { return std::wstring_view(n.text); });
    return name != std::end(names) ? name->code : 0;
}

template <std::size_t size>
std::wstring listed(const Name (&names)[size]) {
    std::wstring list;
    for (const Name& name : names)
        list += std::wstring(list.empty() ? L"" : L", ") + name.text;
    return list;
}

/// The shell's functions require COM on the calling thread.
class Com {
public:
    Com() { CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
    Com(const Com&) = delete;
    Com& operator=(const Com&) = delete;
    ~Com() { CoUninitialize(); }
};

int report(std::uint32_t error, std::uint32_t status, const std::wstring& folder) {
    const std::wstring what = L"Cannot reach the view of the folder " + folder;
    field("errorNumber", error);
    field("status", status);
    if (error == ERROR_INVALID_PARAMETER)
        return fail(what, {.number = error,
                           .name = L"ERROR_INVALID_PARAMETER",
                           .text = L"there is no such folder",
                           .advice = L"check the path"});
    if (error != 0) {
        Cause cause = windowsError(error);
        cause.advice = L"check that the desktop runs";
        return fail(what, cause);
    }
    if (status == ZELSYSHELPER_NO_SHELL_WINDOW)
        return fail(what, {.text = L"no file-manager window is open", .advice = L"open one and try again"});
    return status == 0 ? int{kDone} : fail(what);
}

int getView(const Library& library, const std::wstring& folder) {
    std::uint32_t view = 0, error = 0, status = 0;
    SortOption sort{}, group{};
    library.retrieveShellFolderViewOptions(folder.c_str(), &view, &sort, &group, &error, &status);
    if (const int code = report(error, status, folder); code != kDone)
        return code;
    if (view == 0 && sort.code == 0 && sort.ascending != 0)
        return fail(L"No window shows the folder " + folder + L" yet", {.advice = L"try again"});
    field("view", nameOf(kViews, view));
    field("sort", nameOf(kColumns, sort.code));
    field("group", nameOf(kColumns, group.code));
    flag("groupAscending", group.ascending != 0);
    print(L"view:  " + nameOf(kViews, view));
    print(L"sort:  " + nameOf(kColumns, sort.code));
    print(L"group: " + nameOf(kColumns, group.code) + (group.ascending != 0 ? L"" : L", descending"));
    return kDone;
}

/// Looks up the value of an option among the names.
/// \return The problem if the value is an unknown name, otherwise empty.
/// \param[out] code Unchanged without the option; 0 for an unknown name.
template <std::size_t size>
std::wstring readName(const Parameters& parameters, std::wstring_view option, const Name (&names)[size],
                      std::uint32_t& code) {
    if (!parameters.has(option))
        return {};
    code = codeOf(names, parameters.value(option));
    return code != 0 ? L"" : L"Unknown name " + parameters.value(option) + L"; known are " + listed(names);
}

int setView(const Library& library, const std::wstring& folder, const Parameters& parameters) {
    std::uint32_t view = 0, groupCode = 0;
    SortOption sort{.code = 0, .ascending = !parameters.has(L"--descending")};
    for (const std::wstring& problem :
         {readName(parameters, L"--view", kViews, view), readName(parameters, L"--sort", kColumns, sort.code),
          readName(parameters, L"--group", kColumns, groupCode)})
        if (!problem.empty())
            return wrongUsage(kFolderViewCommand, problem);
    std::uint32_t error = 0, status = 0;
    library.assignShellFolderViewOptions(folder.c_str(), &view, &sort, &groupCode, &error, &status);
    return report(error, status, folder);
}

int runFolderView(const Library& library, const Parameters& parameters) {
    const Com com;
    const Arguments& arguments = parameters.positional;
    const bool hasOptions = !parameters.options.empty();
    if (arguments.size() == 2 && arguments[0] == L"get" && !hasOptions)
        return getView(library, fullPath(arguments[1]));
    if (arguments.size() == 2 && arguments[0] == L"set" && hasOptions)
        return setView(library, fullPath(arguments[1]), parameters);
    return wrongUsage(kFolderViewCommand,
                      L"folder-view requires get and a folder, or set, a folder and options");
}

const wchar_t* explainStep(std::uint32_t step) {
    switch (step) {
    case ZELSYSHELPER_LINK_TARGET:
        return L"the target is empty";
    case ZELSYSHELPER_LINK_PATH:
        return L"the link's path is empty";
    case ZELSYSHELPER_LINK_SAVE:
        return L"the link's file cannot be written";
    default:
        return L"the shell rejected the link";
    }
}

int runLink(const Library& library, const Parameters& parameters) {
    const Arguments& arguments = parameters.positional;
    if (arguments.size() < 3 || arguments.size() > 4 || arguments[0] != L"create")
        return wrongUsage(kLinkCommand, L"link create requires a target and the link's path");
    const Com com;
    const std::wstring path = fullPath(arguments[2]);
    std::uint32_t error = 0, step = 0;
    library.createShellLink(arguments[1].c_str(), path.c_str(),
                            arguments.size() == 4 ? arguments[3].c_str() : nullptr, &error, &step);
    field("failedStep", step);
    field("errorNumber", error);
    if (step == 0)
        return kDone;
    field("meaning", explainStep(step));
    return fail(L"Cannot create the link " + path, error != 0 ? windowsError(error) : Cause(),
                std::wstring(L": ") + explainStep(step) + L", step " + std::to_wstring(step));
}

bool isFolder(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

int runCopyDir(const Library& library, const Parameters& parameters) {
    if (parameters.positional.size() != 2)
        return wrongUsage(kCopyDirCommand, L"copy-dir requires a source and a destination");
    // A blank path stays blank, so that the library refuses it. The full path of a tab is not blank.
    const auto full = [](const std::wstring& path) {
        return path.find_first_not_of(L" \t") == path.npos ? path : fullPath(path);
    };
    const std::wstring source = full(parameters.positional[0]), destination = full(parameters.positional[1]);
    if (!isFolder(source))
        return fail(L"Source is not an existing folder: " + source,
                    {.advice = L"nothing was deleted or copied"});
    const auto failures = static_cast<std::uint32_t>(library.copyDirEx(source.c_str(), destination.c_str()));
    field("failures", failures);
    print(std::to_wstring(failures) + (failures == 1 ? L" failure" : L" failures"));
    return failures == 0 ? int{kDone} : fail(L"Failures while copying " + source + L" to " + destination);
}

int runExtension(const Library& library, const Parameters& parameters) {
    if (!parameters.positional.empty())
        return wrongUsage(kExtensionCommand, L"extension takes no arguments");
    const auto result = static_cast<std::uint32_t>(library.zelChromeExtWasDeleted());
    field("result", result);
    flag("listed", result == 0);
    if (result >= ZELSYSHELPER_EXTENSION_NO_FOLDER)
        return fail(L"Cannot find the user's local data folder",
                    windowsError(result - ZELSYSHELPER_EXTENSION_NO_FOLDER));
    print(result == 0 ? L"listed" : L"not listed");
    return result == 0 ? kDone : kFailed;
}

} // namespace

const Command kFolderViewCommand{
    L"folder-view",
    L"folder-view get FOLDER        Opens the folder and prints how the file manager shows it.\n"
    L"folder-view set FOLDER [--view NAME] [--sort COLUMN] [--group COLUMN] [--descending]\n"
    L"                              Sets the view. Views: icons, small-icons, list, details, thumbnails,\n"
    L"                              strip, tiles, content. Columns: none, name, size, type, modified, other.",
    kFolderViewOptions,
    runFolderView,
};

const Command kLinkCommand{
    L"link",
    L"link create TARGET LINK.LNK [DESCRIPTION]\n"
    L"                              Writes a shell link.",
    {},
    runLink,
};

const Command kCopyDirCommand{
    L"copy-dir",
    L"copy-dir SOURCE DESTINATION   Deletes the destination folder, then copies the tree of the source "
    L"there.\n"
    L"                              The source must be an existing folder. A missing destination counts\n"
    L"                              as a failure, and files of the source's root are copied only when a "
    L"subfolder\n"
    L"                              is listed before them.",
    {},
    runCopyDir,
};

const Command kExtensionCommand{
    L"extension",
    L"extension                     Prints whether the browser still lists the suite's extension.",
    {},
    runExtension,
};

} // namespace host
