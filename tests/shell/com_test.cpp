// The C form of COM interfaces: each has a table of function pointers, which lambdas can fill.
#define CINTERFACE

#include "shell/directory_copy.h"
#include "shell/extension_presence.h"
#include "shell/extension_scan.h"
#include "shell/folder_view.h"
#include "shell/path_identity.h"
#include "shell/shell_link.h"
#include "support/fields.h"
#include "support/files.h"
#include "support/seam.h"
#include "win32/owner.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <exdisp.h>
#include <servprov.h>
#include <shlguid.h>
#include <shlobj.h>

#include <gtest/gtest.h>

ZELSYS_SEAM(L"kernel32.dll", GetFileInformationByHandle)
ZELSYS_SEAM(L"ole32.dll", CoTaskMemFree)
ZELSYS_SEAM(L"shell32.dll", SHCreateDirectory)
ZELSYS_SEAM(L"shell32.dll", SHGetFolderPathW)
ZELSYS_SEAM(L"shell32.dll", SHOpenFolderAndSelectItems)

namespace {

struct Object {
    const void* table;
    std::size_t window;
};

using Calls = std::vector<std::string>;

struct {
    std::vector<std::wstring> windows; ///< The folders of the open windows.
    std::string_view broken;           ///< Name of the object or call that fails.
    HRESULT failure = E_FAIL;          ///< Result of "broken". With S_OK, the object is still null.
    int references = 0;
    SORTCOLUMN sort{};
    PROPERTYKEY group{};
    BOOL groupAscending = TRUE;
    int mode = FVM_AUTO;
    Calls calls;
} world;

std::map<std::string_view, const void*> tables;
std::map<std::string_view, Object> objects[2]; // one map per window

template <class Out>
HRESULT give(std::string_view part, std::size_t window, Out** out) {
    *out = nullptr;
    if (part == world.broken)
        return world.failure;
    objects[window][part] = {tables[part], window};
    *out = reinterpret_cast<Out*>(&objects[window][part]);
    ++world.references;
    return S_OK;
}

std::size_t windowOf(const void* object) {
    return static_cast<const Object*>(object)->window;
}

/// Records a call as "name(argument, argument)".
template <class... Words>
HRESULT called(std::string_view call, const Words&... words) {
    std::ostringstream line;
    [[maybe_unused]] const char* separator = "";
    ((line << std::exchange(separator, ", ") << words), ...);
    world.calls.push_back(std::string(call) + "(" + line.str() + ")");
    return call == world.broken ? world.failure : S_OK;
}

constexpr GUID kStorage{0xB725F130, 0x47EF, 0x101A, {0xA5, 0xF1, 0x02, 0x60, 0x8C, 0x9E, 0xEB, 0xAC}};

/// Returns the name of a column.
std::string text(const PROPERTYKEY& key) {
    if (IsEqualGUID(key.fmtid, kStorage))
        return key.pid == 10 ? "name" : key.pid == 4 ? "type" : "unknown";
    return IsEqualGUID(key.fmtid, GUID{}) ? "none" : "unknown";
}

std::string text(const wchar_t* wide) {
    return std::filesystem::path(wide).string();
}

template <class Value>
HRESULT store(Value* out, auto value) {
    *out = static_cast<Value>(value);
    return S_OK;
}

HRESULT query(const void* self, REFIID wanted, void** out) {
    const std::pair<std::string_view, const IID*> known[] = {
        {"windows", &IID_IShellWindows}, {"app", &IID_IWebBrowserApp},   {"services", &IID_IServiceProvider},
        {"view", &IID_IFolderView},      {"view2", &IID_IFolderView2},   {"link", &IID_IShellLinkW},
        {"file", &IID_IPersistFile},     {"factory", &IID_IClassFactory}};
    for (const auto& [part, iid] : known)
        if (IsEqualIID(wanted, *iid))
            return give(part, windowOf(self), out);
    *out = nullptr;
    return E_NOINTERFACE;
}

/// Creates the function table of an object, with the functions of IUnknown.
template <class Table>
Table& make(std::string_view part) {
    static Table table{};
    table.QueryInterface = [](auto* self, REFIID wanted, void** out) { return query(self, wanted, out); };
    table.AddRef = [](auto*) { return static_cast<ULONG>(++world.references); };
    table.Release = [](auto*) { return static_cast<ULONG>(--world.references); };
    tables[part] = &table;
    return table;
}

void makeTables() {
    make<IDispatchVtbl>("item");
    make<IWebBrowserAppVtbl>("app");

    auto& classes = make<IClassFactoryVtbl>("factory");
    classes.CreateInstance = [](auto* self, IUnknown*, REFIID iid, void** out) {
        return query(self, iid, out);
    };

    auto& all = make<IShellWindowsVtbl>("windows");
    all.get_Count = [](auto*, long* out) {
        *out = static_cast<long>(world.windows.size());
        return called("count");
    };
    all.Item = [](auto*, VARIANT place, IDispatch** out) {
        EXPECT_EQ(place.vt, VT_I4);
        return give("item", static_cast<std::size_t>(place.lVal), out);
    };

    make<IServiceProviderVtbl>("services").QueryService = [](auto* self, REFGUID id, REFIID iid, void** out) {
        EXPECT_TRUE(IsEqualGUID(id, SID_STopLevelBrowser) && IsEqualIID(iid, IID_IShellBrowser));
        return give("browser", windowOf(self), out);
    };
    make<IShellBrowserVtbl>("browser").QueryActiveShellView = [](auto* self, IShellView** out) {
        return give("shellView", windowOf(self), out);
    };

    auto& shown = make<IShellViewVtbl>("shellView");
    shown.SaveViewState = [](auto*) { return called("save"); };
    shown.Refresh = [](auto*) { return called("refresh"); };

    auto& oldView = make<IFolderViewVtbl>("view");
    oldView.GetFolder = [](auto* self, REFIID, void** out) { return give("folder", windowOf(self), out); };
    oldView.GetCurrentViewMode = [](auto*, UINT* mode) { return store(mode, world.mode); };
    oldView.SetCurrentViewMode = [](auto*, UINT mode) { return called("old mode", mode); };

    make<IPersistFolder2Vtbl>("folder").GetCurFolder = [](auto* self, PIDLIST_ABSOLUTE* out) {
        *out = world.broken == "list" ? nullptr : ILCreateFromPathW(world.windows[windowOf(self)].c_str());
        return called("list");
    };

    auto& newView = make<IFolderView2Vtbl>("view2");
    newView.GetSortColumns = [](auto*, SORTCOLUMN* columns, int size) {
        EXPECT_EQ(size, 1);
        return store(columns, world.sort);
    };
    newView.GetGroupBy = [](auto*, PROPERTYKEY* key, BOOL* isAscending) {
        EXPECT_EQ(*isAscending, TRUE);
        *isAscending = world.groupAscending;
        return store(key, world.group);
    };
    newView.GetViewModeAndIconSize = [](auto*, FOLDERVIEWMODE* out, int*) { return store(out, world.mode); };
    newView.SetSortColumns = [](auto*, const SORTCOLUMN* columns, int) {
        return called("sort", text(columns->propkey), columns->direction);
    };
    newView.SetGroupBy = [](auto*, REFPROPERTYKEY key, BOOL up) { return called("group", text(key), up); };
    newView.SetViewModeAndIconSize = [](auto*, auto mode, int size) { return called("mode", mode, size); };

    auto& made = make<IShellLinkWVtbl>("link");
    made.SetPath = [](auto*, LPCWSTR path) { return called("path", text(path)); };
    made.SetDescription = [](auto*, LPCWSTR is) { return called("description", text(is)); };
    make<IPersistFileVtbl>("file").Save = [](auto*, LPCOLESTR path, BOOL isRemembered) {
        return called("save", text(path), isRemembered);
    };
}

/// Registers this file's objects in place of the shell's classes.
class Com : public testing::Test {
protected:
    Com() {
        makeTables();
        world = {};
        CoInitialize(nullptr);
        IUnknown* classObject = nullptr;
        give("factory", 0, &classObject);
        for (const auto* id : {&CLSID_ShellWindows, &CLSID_ShellLink})
            CoRegisterClassObject(*id, classObject, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                                  &cookies[id == &CLSID_ShellLink]);
        SHOpenFolderAndSelectItemsSeam::fake = [](PCIDLIST_ABSOLUTE opened, UINT size,
                                                  PCUITEMID_CHILD_ARRAY children, DWORD) {
            wchar_t path[MAX_PATH] = L"";
            SHGetPathFromIDListW(opened, path);
            EXPECT_TRUE(size == 1 && children[0] == nullptr);
            called("open", text(path));
            return E_FAIL; // must be ignored
        };
    }
    ~Com() override {
        for (const DWORD cookie : cookies)
            CoRevokeClassObject(cookie);
        CoUninitialize();
        EXPECT_EQ(world.references, 1) << "the test's own reference to the factory";
        testing_support::restoreSeams();
    }

    DWORD cookies[2] = {};
};

struct View {
    std::uint32_t viewCode = 0, sortCode = 0, groupCode = 0;
    bool sortAscending = true, groupAscending = true;
    std::uint32_t error = 0, status = 0;
};
ZELSYS_FIELDS(View, viewCode, sortCode, groupCode, sortAscending, groupAscending, error, status)

View retrieve(const std::wstring& folder) {
    shell::TFolderViewOptions options;
    const auto [error, status] = shell::retrieveFolderView(folder, options);
    const auto& [viewCode, sort, group] = options;
    return {viewCode, sort.code, group.code, sort.isAscending, group.isAscending, error, status};
}

TEST_F(Com, RetrieveReadsTheWindowsOfTheFolder) {
    EXPECT_EQ(retrieve(L"C:/"), View{.status = 1000}) << "no window is open";
    EXPECT_EQ(world.calls, Calls({"open(C:\\)", "count()"}));
    world.windows = {L"C:\\windows", L"C:\\users"};
    EXPECT_EQ(retrieve(L"C:\\"), View{});
    world.group = {{0xC94FB582, 0x8AE1, 0x4570, {0x83, 0x5B, 0xBC, 0xA2, 0x8F, 0xB9, 0xDE, 0x9B}}, 6};
    // Mode and its code, property of the column and its code.
    const std::uint32_t cases[][4] = {{0, 0, 5, 0},   {1, 1, 12, 20}, {6, 7, 4, 21},
                                      {7, 6, 14, 30}, {8, 8, 10, 10}, {9, 0, 10, 10}};
    for (const auto& [mode, viewCode, property, sortCode] : cases) {
        world.mode = static_cast<int>(mode);
        world.sort = {{kStorage, property}, SORT_ASCENDING};
        const View expected{viewCode, sortCode, 40, false};
        EXPECT_EQ(retrieve(L"c:/WINDOWS"), expected) << "mode " << mode;
    }
    world.sort = {{}, SORT_DESCENDING};
    world.group = {kStorage, 5};
    world.groupAscending = -1;
    EXPECT_EQ(retrieve(L"C:\\users"), (View{.sortCode = 1, .sortAscending = false, .groupAscending = false}));
    world.broken = "view2";
    world.mode = 4;
    EXPECT_EQ(retrieve(L"C:\\users"), View{.viewCode = 4});
    for (const HRESULT failure : {E_FAIL, S_OK})
        for (const char* part : {"item", "app", "services", "browser", "shellView", "view", "folder"}) {
            world.broken = part;
            world.failure = failure;
            EXPECT_EQ(retrieve(L"C:\\users"), View{}) << "the window is skipped: " << part;
        }
    CoTaskMemFreeSeam::calls = 0;
    world.broken = "list";
    EXPECT_EQ(retrieve(L"C:\\users"), View{});
    const int freed = CoTaskMemFreeSeam::calls;
    world.broken = {};
    retrieve(L"C:\\users");
    EXPECT_EQ(CoTaskMemFreeSeam::calls, 2 * freed + 2) << "the item lists of both windows";
}

TEST_F(Com, RetrieveReportsErrors) {
    EXPECT_EQ(retrieve(L""), View{.error = 87});
    EXPECT_EQ(retrieve(L"C:\\no such folder"), View{.error = 87});
    world.failure = HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED);
    for (const char* part : {"windows", "count"}) {
        world.broken = part;
        EXPECT_EQ(retrieve(L"C:\\"), View{.error = 5});
    }
    world.broken = "windows";
    world.failure = S_OK;
    EXPECT_EQ(retrieve(L"C:\\"), View{.error = 16387}) << "no object";
}

TEST_F(Com, AssignSetsAllWindowsOfTheFolder) {
    const auto assign = [](const shell::TFolderViewOptions& options) {
        world.calls.clear();
        const auto [error, status] = shell::assignFolderView(L"C:\\windows", options);
        EXPECT_EQ(error + status, 0u);
        return Calls(std::ranges::find(world.calls, "list()"), world.calls.end());
    };
    world.windows = {L"C:\\windows"};
    EXPECT_EQ(assign({.viewCode = 6, .sort = {10, false}, .group = {21}}),
              Calls({"list()", "sort(name, -1)", "group(type, 0)", "mode(7, 256)", "save()", "refresh()"}));
    EXPECT_EQ(assign({.viewCode = 9, .sort = {1}, .group = {11}}),
              Calls({"list()", "sort(none, 1)", "save()", "refresh()"}));
    const std::string modes[] = {"mode(1, 48)",  "mode(2, 16)",  "mode(3, -1)", "mode(4, -1)",
                                 "mode(5, 128)", "mode(7, 256)", "mode(6, -1)", "mode(8, -1)"};
    for (std::uint32_t code = 1; code <= 8; ++code)
        EXPECT_EQ(assign({.viewCode = code}), Calls({"list()", modes[code - 1], "save()", "refresh()"}));
    world.broken = "mode";
    EXPECT_EQ(assign({.viewCode = 7}),
              Calls({"list()", "mode(6, -1)", "old mode(6)", "save()", "refresh()"}));
    world.broken = "view2";
    EXPECT_EQ(assign({.viewCode = 6, .sort = {10}, .group = {10}}),
              Calls({"list()", "old mode(7)", "save()", "refresh()"}));
    world.windows.push_back(world.windows[0]);
    EXPECT_EQ(assign({.viewCode = 3}), Calls({"list()", "old mode(3)", "save()", "refresh()", // one window
                                              "list()", "old mode(3)", "save()", "refresh()"}));
}

struct Link {
    std::uint32_t error = 0, failedStep = 0;
};
ZELSYS_FIELDS(Link, error, failedStep)

Link linked(const std::wstring& target, const std::wstring& path, std::optional<std::wstring> description) {
    const auto [error, failedStep] = shell::createLink(target, path, description);
    return {error, static_cast<std::uint32_t>(failedStep)};
}

TEST_F(Com, LinkSteps) {
    EXPECT_EQ(linked(L" \t\x3000", L"x.lnk", {}), (Link{.error = 87, .failedStep = 1}));
    EXPECT_EQ(linked(L"x", L" \n ", {}), (Link{.error = 87, .failedStep = 2}));
    EXPECT_EQ(linked(L" C:\\a b\t", L"\r\n C:\\x y.lnk ", {}), Link{});
    EXPECT_EQ(world.calls, Calls({"path(C:\\a b)", "save(C:\\x y.lnk, 1)"}));
    world.calls.clear();
    EXPECT_EQ(linked(L"a", L"b", L" d "), Link{});
    EXPECT_EQ(world.calls, Calls({"path(a)", "description( d )", "save(b, 1)"}));
    const std::pair<const char*, std::uint32_t> steps[] = {
        {"link", 21}, {"path", 22}, {"description", 23}, {"file", 24}, {"save", 25}};
    world.failure = HRESULT_FROM_WIN32(ERROR_DISK_FULL);
    for (const auto& [part, step] : steps) {
        world.broken = part;
        EXPECT_EQ(linked(L"a", L"b", L""), (Link{.error = 112, .failedStep = step}));
    }
    world.failure = S_OK;
    world.broken = "link";
    EXPECT_EQ(linked(L"a", L"b", L""), (Link{.error = 16387, .failedStep = 21})) << "no object";
    world.broken = "file";
    EXPECT_EQ(linked(L"a", L"b", L""), (Link{.error = 16387, .failedStep = 24})) << "no object";
}

TEST_F(Com, FailuresOutsideCom) {
    SHGetFolderPathWSeam::fake = [](HWND, int, HANDLE, DWORD, LPWSTR) { return E_INVALIDARG; };
    EXPECT_EQ(shell::extensionState(), 1'000'000u + 87);

    testing_support::TemporaryFolder folder;
    SHGetFolderPathWSeam::fake = [&](HWND, int, HANDLE, DWORD, LPWSTR path) {
        std::wcscpy(path, (folder / L"").c_str());
        return S_OK;
    };
    const std::filesystem::path preferences = folder / L"Google/Chrome/User Data/Default/Preferences";
    std::filesystem::create_directories(preferences.parent_path());
    testing_support::writeBytes(preferences.wstring(), '"' + std::string(shell::kExtensionId) + "\":{");
    const win32::KernelHandle browser(CreateFileW(preferences.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE,
                                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                                  nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_TRUE(browser);
    EXPECT_EQ(shell::extensionState(), shell::kExtensionListed) << "a running browser has the file open";
    // File indexes are unique within a volume only.
    GetFileInformationByHandleSeam::fake = [](HANDLE, BY_HANDLE_FILE_INFORMATION* info) {
        *info = {};
        info->nFileIndexLow = 1;
        info->dwVolumeSerialNumber = static_cast<DWORD>(GetFileInformationByHandleSeam::calls);
        return TRUE;
    };
    EXPECT_FALSE(shell::isSameFolder(L"C:\\", folder / L""));
    for (const wchar_t* inner : {L"c:\\windows", L"c:\\windows\\system32"})
        EXPECT_TRUE(shell::holds(L"C:\\windows", inner)) << "the names are enough";
    GetFileInformationByHandleSeam::restore();
    std::filesystem::create_directories(folder / L"from\\inner");
    SHCreateDirectorySeam::fake = [](HWND, PCWSTR) -> int { throw std::bad_alloc(); };
    testing::internal::CaptureStdout();
    EXPECT_EQ(shell::replaceDirectory(folder / L"from", folder / L"to"), 1u);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "error RemoveDirectory: 2\nerror Exception\n");
}

} // namespace
