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

/// \return 0 for an unknown name.
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

/// The shell's functions want COM.
class Com {
public:
    Com() { CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
    Com(const Com&) = delete;
    Com& operator=(const Com&) = delete;
    ~Com() { CoUninitialize(); }
};

int report(std::uint32_t error, std::uint32_t status, const std::wstring& folder) {
    if (error == ERROR_INVALID_PARAMETER)
        complain(L"no folder " + folder + L"; give a full path");
    else if (error != 0)
        complain(L"the file manager's windows cannot be found; is the desktop running? Error " +
                 describeError(error));
    else if (status == ZELSYSHELPER_NO_SHELL_WINDOW)
        complain(L"no file-manager window is open; try again once it is");
    return error == 0 && status == 0 ? kDone : kFailed;
}

int getView(const Library& library, const std::wstring& folder) {
    std::uint32_t view = 0, error = 0, status = 0;
    SortOption sort{}, group{};
    library.retrieveShellFolderViewOptions(folder.c_str(), &view, &sort, &group, &error, &status);
    if (const int code = report(error, status, folder); code != kDone)
        return code;
    if (view == 0 && sort.code == 0 && sort.ascending != 0) {
        complain(L"no window shows " + folder + L" yet; try again once it does");
        return kFailed;
    }
    field("view", nameOf(kViews, view));
    field("sort", nameOf(kColumns, sort.code));
    field("group", nameOf(kColumns, group.code));
    flag("groupAscending", group.ascending != 0);
    print(L"view:  " + nameOf(kViews, view));
    print(L"sort:  " + nameOf(kColumns, sort.code));
    print(L"group: " + nameOf(kColumns, group.code) + (group.ascending != 0 ? L"" : L", descending"));
    return kDone;
}

int setView(const Library& library, const std::wstring& folder, const Arguments& options) {
    std::uint32_t view = 0, groupCode = 0;
    SortOption sort{.code = 0, .ascending = 1};
    for (std::size_t i = 0; i < options.size(); ++i) {
        if (options[i] == L"--descending") {
            sort.ascending = 0;
            continue;
        }
        if (i + 1 == options.size())
            return wrongUsage(kFolderViewCommand, options[i] + L" wants a value, or is unknown");
        const std::wstring& option = options[i++];
        const bool isView = option == L"--view";
        std::uint32_t* const code = isView                 ? &view
                                    : option == L"--sort"  ? &sort.code
                                    : option == L"--group" ? &groupCode
                                                           : nullptr;
        if (code == nullptr)
            return wrongUsage(kFolderViewCommand, L"unknown option " + option);
        *code = isView ? codeOf(kViews, options[i]) : codeOf(kColumns, options[i]);
        if (*code == 0)
            return wrongUsage(kFolderViewCommand, L"unknown name " + options[i] + L"; there are " +
                                                      (isView ? listed(kViews) : listed(kColumns)));
    }
    std::uint32_t error = 0, status = 0;
    library.assignShellFolderViewOptions(folder.c_str(), &view, &sort, &groupCode, &error, &status);
    return report(error, status, folder);
}

int runFolderView(const Library& library, const Arguments& arguments) {
    const Com com;
    if (arguments.size() == 2 && arguments[0] == L"get")
        return getView(library, fullPath(arguments[1]));
    if (arguments.size() > 2 && arguments[0] == L"set")
        return setView(library, fullPath(arguments[1]), Arguments(arguments.begin() + 2, arguments.end()));
    return wrongUsage(kFolderViewCommand, L"what is to be done with the view of which folder?");
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
        return L"the shell refused";
    }
}

int runLink(const Library& library, const Arguments& arguments) {
    if (arguments.size() < 3 || arguments.size() > 4 || arguments[0] != L"create")
        return wrongUsage(kLinkCommand, L"link create wants a target and the link's path");
    const Com com;
    std::uint32_t error = 0, step = 0;
    library.createShellLink(arguments[1].c_str(), fullPath(arguments[2]).c_str(),
                            arguments.size() == 4 ? arguments[3].c_str() : nullptr, &error, &step);
    field("failedStep", step);
    field("errorNumber", error);
    if (step == 0)
        return kDone;
    complain(std::wstring(explainStep(step)) + L" (step " + std::to_wstring(step) + L"). Error " +
             describeError(error));
    return kFailed;
}

bool isFolder(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

int runCopyDir(const Library& library, const Arguments& arguments) {
    if (arguments.size() != 2)
        return wrongUsage(kCopyDirCommand, L"copy-dir wants a source and a destination");
    // A blank path stays blank, so that the library refuses it; made full, it would be the current folder.
    const auto full = [](const std::wstring& path) {
        return path.find_first_not_of(L" \t") == path.npos ? path : fullPath(path);
    };
    if (const std::wstring source = full(arguments[0]); !isFolder(source)) {
        complain(L"Source is not an existing folder: " + source + L". Nothing was deleted or copied");
        return kFailed;
    }
    const auto failures =
        static_cast<std::uint32_t>(library.copyDirEx(full(arguments[0]).c_str(), full(arguments[1]).c_str()));
    field("failures", failures);
    print(std::to_wstring(failures) + (failures == 1 ? L" failure" : L" failures"));
    return failures == 0 ? kDone : kFailed;
}

int runExtension(const Library& library, const Arguments& arguments) {
    if (!arguments.empty())
        return wrongUsage(kExtensionCommand, L"extension takes no arguments");
    const auto result = static_cast<std::uint32_t>(library.zelChromeExtWasDeleted());
    if (result >= ZELSYSHELPER_EXTENSION_NO_FOLDER)
        complain(L"the user's local data folder cannot be found (" + std::to_wstring(result) + L")");
    else
        print(result == 0 ? L"listed" : L"not listed");
    field("result", result);
    flag("listed", result == 0);
    return result == 0 ? kDone : kFailed;
}

} // namespace

const Command kFolderViewCommand{
    L"folder-view",
    L"folder-view get FOLDER        Opens the folder and prints how the file manager shows it.\n"
    L"folder-view set FOLDER [--view NAME] [--sort COLUMN] [--group COLUMN] [--descending]\n"
    L"                              Sets it. Views: icons, small-icons, list, details, thumbnails, strip,\n"
    L"                              tiles, content. Columns: none, name, size, type, modified, other.",
    runFolderView,
};

const Command kLinkCommand{
    L"link",
    L"link create TARGET LINK.LNK [DESCRIPTION]\n"
    L"                              Writes a shell link.",
    runLink,
};

const Command kCopyDirCommand{
    L"copy-dir",
    L"copy-dir SOURCE DESTINATION   Deletes the destination folder, then copies the tree of the source "
    L"there,\n"
    L"                              which must be an existing folder. A missing destination counts as a\n"
    L"                              failure, and files of the source's root are copied only when a "
    L"subfolder\n"
    L"                              is listed before them.",
    runCopyDir,
};

const Command kExtensionCommand{
    L"extension",
    L"extension                     Tells whether the browser still lists the suite's extension.",
    runExtension,
};

} // namespace host
