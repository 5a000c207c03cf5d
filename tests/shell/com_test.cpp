// The C form of the system's interfaces: tables of functions, which lambdas can fill.
#define CINTERFACE

#include "shell/directory_copy.h"
#include "shell/extension_presence.h"
#include "shell/folder_view.h"
#include "shell/shell_link.h"
#include "support/files.h"
#include "support/seam.h"

#include <array>
#include <map>
#include <string>
#include <vector>

#include <exdisp.h>
#include <servprov.h>
#include <shlguid.h>
#include <shlobj.h>

#include <gtest/gtest.h>

ZELSYS_SEAM(L"ole32.dll", CoTaskMemFree)
ZELSYS_SEAM(L"shell32.dll", SHCreateDirectory)
ZELSYS_SEAM(L"shell32.dll", SHGetFolderPathW)
ZELSYS_SEAM(L"shell32.dll", SHOpenFolderAndSelectItems)

namespace {

/// What can fail: the objects in the order in which they are asked for, and calls on them.
enum Part {
    windows,
    item,
    app,
    services,
    browser,
    shellView,
    view,
    folder,
    view2,
    link,
    file,
    objectCount,
    count = objectCount,
    list,
    setView,
    setPath,
    setDescription,
    save,
    none
};

struct Object {
    const void* table;
    std::size_t window;
};

struct {
    std::vector<std::wstring> windows; ///< The folders that are shown.
    Part broken = none;
    HRESULT failure = E_FAIL; ///< With S_OK, no object is given away all the same.
    int references = 0;
    SORTCOLUMN sort{};
    PROPERTYKEY group{};
    BOOL groupAscending = TRUE;
    int mode = FVM_AUTO;
    std::string calls;
} world;

std::array<const void*, objectCount> tables;
std::array<Object, objectCount> objects[2]; // for each window

template <class Out>
HRESULT give(Part part, std::size_t window, Out** out) {
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

HRESULT called(const std::string& call, Part part = none) {
    world.calls += call + ";";
    return part == world.broken ? world.failure : S_OK;
}

std::string text(const PROPERTYKEY& key) {
    return key.fmtid.Data1 == 0 ? "none"
                                : std::to_string(key.fmtid.Data1 >> 24) + "/" + std::to_string(key.pid);
}

std::string narrow(const wchar_t* wide) {
    return {wide, wide + wcslen(wide)};
}

HRESULT query(const void* self, REFIID wanted, void** out) {
    const std::pair<Part, const IID*> known[] = {
        {windows, &IID_IShellWindows}, {app, &IID_IWebBrowserApp}, {services, &IID_IServiceProvider},
        {view, &IID_IFolderView},      {view2, &IID_IFolderView2}, {link, &IID_IShellLinkW},
        {file, &IID_IPersistFile}};
    for (const auto& [part, iid] : known)
        if (IsEqualIID(wanted, *iid))
            return give(part, windowOf(self), out);
    *out = nullptr;
    return E_NOINTERFACE;
}

/// Makes the table of one object; `fill` sets what is called beside the three functions that all have.
template <class Table>
void make(Part part, void (*fill)(Table&)) {
    static Table table{};
    table.QueryInterface = [](auto* self, REFIID wanted, void** out) { return query(self, wanted, out); };
    table.AddRef = [](auto*) { return static_cast<ULONG>(++world.references); };
    table.Release = [](auto*) { return static_cast<ULONG>(--world.references); };
    fill(table);
    tables[part] = &table;
}

void makeTables() {
    make<IShellWindowsVtbl>(windows, [](auto& table) {
        table.get_Count = [](auto*, long* out) {
            *out = static_cast<long>(world.windows.size());
            return called("", count);
        };
        table.Item = [](auto*, VARIANT place, IDispatch** out) {
            EXPECT_EQ(place.vt, VT_I4);
            return give(item, static_cast<std::size_t>(place.lVal), out);
        };
    });
    make<IDispatchVtbl>(item, [](auto&) {});
    make<IWebBrowserAppVtbl>(app, [](auto&) {});
    make<IServiceProviderVtbl>(services, [](auto& table) {
        table.QueryService = [](auto* self, REFGUID service, REFIID iid, void** out) {
            EXPECT_TRUE(IsEqualGUID(service, SID_STopLevelBrowser) && IsEqualIID(iid, IID_IShellBrowser));
            return give(browser, windowOf(self), out);
        };
    });
    make<IShellBrowserVtbl>(browser, [](auto& table) {
        table.QueryActiveShellView = [](auto* self, IShellView** out) {
            return give(shellView, windowOf(self), out);
        };
    });
    make<IShellViewVtbl>(shellView, [](auto& table) {
        table.SaveViewState = [](auto*) { return called("save"); };
        table.Refresh = [](auto*) { return called("refresh"); };
    });
    make<IFolderViewVtbl>(view, [](auto& table) {
        table.GetFolder = [](auto* self, REFIID, void** out) { return give(folder, windowOf(self), out); };
        table.GetCurrentViewMode = [](auto*, UINT* mode) {
            *mode = static_cast<UINT>(world.mode);
            return S_OK;
        };
        table.SetCurrentViewMode = [](auto*, UINT mode) {
            return called("old mode " + std::to_string(mode));
        };
    });
    make<IPersistFolder2Vtbl>(folder, [](auto& table) {
        table.GetCurFolder = [](auto* self, PIDLIST_ABSOLUTE* out) {
            *out = world.broken == list ? nullptr : ILCreateFromPathW(world.windows[windowOf(self)].c_str());
            return called("", list);
        };
    });
    make<IFolderView2Vtbl>(view2, [](auto& table) {
        table.GetSortColumns = [](auto*, SORTCOLUMN* columns, int size) {
            EXPECT_EQ(size, 1);
            *columns = world.sort;
            return S_OK;
        };
        table.GetGroupBy = [](auto*, PROPERTYKEY* key, BOOL* isAscending) {
            EXPECT_EQ(*isAscending, TRUE);
            *key = world.group;
            *isAscending = world.groupAscending;
            return S_OK;
        };
        table.GetViewModeAndIconSize = [](auto*, FOLDERVIEWMODE* mode, int*) {
            *mode = static_cast<FOLDERVIEWMODE>(world.mode);
            return S_OK;
        };
        table.SetSortColumns = [](auto*, const SORTCOLUMN* columns, int) {
            return called("sort " + text(columns->propkey) + " " + std::to_string(columns->direction));
        };
        table.SetGroupBy = [](auto*, REFPROPERTYKEY key, BOOL isAscending) {
            return called("group " + text(key) + " " + std::to_string(isAscending));
        };
        table.SetViewModeAndIconSize = [](auto*, FOLDERVIEWMODE mode, int size) {
            return called("mode " + std::to_string(mode) + " " + std::to_string(size), setView);
        };
    });
    make<IShellLinkWVtbl>(link, [](auto& table) {
        table.SetPath = [](auto*, LPCWSTR path) { return called("path " + narrow(path), setPath); };
        table.SetDescription = [](auto*, LPCWSTR description) {
            return called("description " + narrow(description), setDescription);
        };
    });
    make<IPersistFileVtbl>(file, [](auto& table) {
        table.Save = [](auto*, LPCOLESTR path, BOOL isRemembered) {
            return called("save " + narrow(path) + " " + std::to_string(isRemembered), save);
        };
    });
}

/// Stands in for classes of the shell.
class Com : public testing::Test {
protected:
    Com() {
        makeTables();
        world = {};
        static IClassFactoryVtbl table{.QueryInterface =
                                           [](IClassFactory* self, REFIID, void** out) {
                                               *out = self;
                                               return S_OK;
                                           },
                                       .AddRef = [](IClassFactory*) { return 1ul; },
                                       .Release = [](IClassFactory*) { return 1ul; },
                                       .CreateInstance = [](IClassFactory* self, IUnknown*, REFIID iid,
                                                            void** out) { return query(self, iid, out); },
                                       .LockServer = [](IClassFactory*, BOOL) { return S_OK; }};
        static Object factory{&table, 0};
        CoInitialize(nullptr);
        for (const auto* id : {&CLSID_ShellWindows, &CLSID_ShellLink})
            CoRegisterClassObject(*id, reinterpret_cast<IUnknown*>(&factory), CLSCTX_INPROC_SERVER,
                                  REGCLS_MULTIPLEUSE, &cookies[id == &CLSID_ShellLink]);
        SHOpenFolderAndSelectItemsSeam::fake = [](PCIDLIST_ABSOLUTE opened, UINT size,
                                                  PCUITEMID_CHILD_ARRAY children, DWORD) {
            wchar_t path[MAX_PATH] = L"";
            SHGetPathFromIDListW(opened, path);
            EXPECT_TRUE(size == 1 && children[0] == nullptr);
            called("open " + narrow(path));
            return E_FAIL; // does not matter
        };
    }
    ~Com() override {
        EXPECT_EQ(world.references, 0);
        for (const DWORD cookie : cookies)
            CoRevokeClassObject(cookie);
        CoUninitialize();
        testing_support::restoreSeams();
    }

    DWORD cookies[2] = {};
};

/// The options that a folder's windows tell, as one text.
std::string retrieved(const std::wstring& folder) {
    shell::TFolderViewOptions options;
    const auto [error, status] = shell::retrieveFolderView(folder, options);
    const auto option = [](const shell::TSortOption& o) {
        return std::to_string(o.code) + (o.isAscending ? "+ " : "- ");
    };
    return std::to_string(options.viewCode) + " " + option(options.sort) + option(options.group) +
           std::to_string(error) + " " + std::to_string(status);
}

constexpr GUID kStorage{0xB725F130, 0x47EF, 0x101A, {0xA5, 0xF1, 0x02, 0x60, 0x8C, 0x9E, 0xEB, 0xAC}};

TEST_F(Com, RetrieveReadsTheWindowsOfTheFolder) {
    EXPECT_EQ(retrieved(L"C:/"), "0 0+ 0+ 0 1000") << "no window at all";
    EXPECT_EQ(world.calls, "open C:\\;;");
    world.windows = {L"C:\\windows", L"C:\\users"};
    EXPECT_EQ(retrieved(L"C:\\"), "0 0+ 0+ 0 0");
    world.sort = {{kStorage, 10}, SORT_ASCENDING};
    world.group = {kStorage, 4};
    const std::pair<int, std::string> modes[] = {{0, "0"}, {1, "1"}, {6, "7"}, {7, "6"}, {8, "8"}, {9, "0"}};
    for (const auto& [mode, code] : modes) {
        world.mode = mode;
        EXPECT_EQ(retrieved(L"c:/WINDOWS"), code + " 10- 21+ 0 0");
    }
    world.sort = {{}, SORT_DESCENDING};
    world.group = {kStorage, 5};
    world.groupAscending = -1;
    EXPECT_EQ(retrieved(L"C:\\users"), "0 1- 0- 0 0");
    world.broken = view2;
    world.mode = 4;
    EXPECT_EQ(retrieved(L"C:\\users"), "4 0+ 0+ 0 0");
    for (const HRESULT failure : {E_FAIL, S_OK})
        for (int part = item; part <= folder; ++part) {
            world.broken = Part(part);
            world.failure = failure;
            EXPECT_EQ(retrieved(L"C:\\users"), "0 0+ 0+ 0 0") << "the window is passed over, by " << part;
        }
    CoTaskMemFreeSeam::calls = 0;
    world.broken = list;
    EXPECT_EQ(retrieved(L"C:\\users"), "0 0+ 0+ 0 0");
    const int freed = CoTaskMemFreeSeam::count();
    world.broken = none;
    retrieved(L"C:\\users");
    EXPECT_EQ(CoTaskMemFreeSeam::count(), 2 * freed + 2) << "the lists of both windows";
}

TEST_F(Com, RetrieveTellsWhatStandsInTheWay) {
    EXPECT_EQ(retrieved(L""), "0 0+ 0+ 87 0");
    EXPECT_EQ(retrieved(L"C:\\no such folder"), "0 0+ 0+ 87 0");
    world.failure = HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED);
    for (const Part part : {windows, count}) {
        world.broken = part;
        EXPECT_EQ(retrieved(L"C:\\"), "0 0+ 0+ 5 0");
    }
    world.broken = windows;
    world.failure = S_OK;
    EXPECT_EQ(retrieved(L"C:\\"), "0 0+ 0+ 16387 0") << "no object";
}

TEST_F(Com, AssignSetsAllWindowsOfTheFolder) {
    const auto assign = [](std::uint32_t viewCode, shell::TSortOption sort, std::uint32_t group) {
        world.calls.clear();
        const auto [error, status] = shell::assignFolderView(L"C:\\windows", {viewCode, sort, {group, true}});
        EXPECT_EQ(error + status, 0u);
        return world.calls.substr(world.calls.find(";;") + 2); // behind the opening and the count
    };
    world.windows = {L"C:\\windows"};
    EXPECT_EQ(assign(6, {10, false}, 21), ";sort 183/10 -1;group 183/4 0;mode 7 256;save;refresh;");
    EXPECT_EQ(assign(0, {0, true}, 40), ";group 201/6 1;save;refresh;");
    EXPECT_EQ(assign(9, {1, true}, 11), ";sort none 1;save;refresh;");
    const std::string modes[] = {"1 48", "2 16", "3 -1", "4 -1", "5 128", "7 256", "6 -1", "8 -1"};
    for (std::uint32_t code = 1; code <= 8; ++code)
        EXPECT_EQ(assign(code, {}, 0), ";mode " + modes[code - 1] + ";save;refresh;");
    world.broken = setView;
    EXPECT_EQ(assign(7, {}, 0), ";mode 6 -1;old mode 6;save;refresh;");
    world.broken = view2;
    EXPECT_EQ(assign(6, {10, true}, 10), ";old mode 7;save;refresh;");
    world.windows.push_back(world.windows[0]);
    EXPECT_EQ(assign(3, {}, 0), ";old mode 3;save;refresh;;old mode 3;save;refresh;");
}

std::string linked(const std::wstring& target, const std::wstring& path, const wchar_t* description) {
    const auto [error, step] = shell::createLink(
        target, path, description != nullptr ? std::optional<std::wstring>(description) : std::nullopt);
    return std::to_string(error) + " " + std::to_string(static_cast<int>(step));
}

TEST_F(Com, Link) {
    EXPECT_EQ(linked(L"", L"", nullptr), "87 1");
    EXPECT_EQ(linked(L" \t\x3000", L"x.lnk", nullptr), "87 1");
    EXPECT_EQ(linked(L"x", L" \n ", nullptr), "87 2");
    EXPECT_EQ(linked(L" C:\\a b\t", L"\r\n C:\\x y.lnk ", nullptr), "0 0");
    EXPECT_EQ(world.calls, "path C:\\a b;save C:\\x y.lnk 1;");
    world.calls.clear();
    EXPECT_EQ(linked(L"a", L"b", L" d "), "0 0");
    EXPECT_EQ(world.calls, "path a;description  d ;save b 1;");
    const std::pair<Part, std::string> steps[] = {
        {link, "21"}, {setPath, "22"}, {setDescription, "23"}, {file, "24"}, {save, "25"}};
    world.failure = HRESULT_FROM_WIN32(ERROR_DISK_FULL);
    for (const auto& [part, step] : steps) {
        world.broken = part;
        EXPECT_EQ(linked(L"a", L"b", L""), "112 " + step);
    }
    world.failure = S_OK;
    for (const Part part : {link, file}) {
        world.broken = part;
        EXPECT_EQ(linked(L"a", L"b", L""), part == link ? "16387 21" : "16387 24") << "no object";
    }
}

TEST_F(Com, FailuresBesideObjects) {
    SHGetFolderPathWSeam::fake = [](HWND, int, HANDLE, DWORD, LPWSTR) { return E_INVALIDARG; };
    EXPECT_EQ(shell::extensionState(), 1'000'000u + 87);

    testing_support::TemporaryFolder folder;
    std::filesystem::create_directories(folder / L"from\\inner");
    SHCreateDirectorySeam::fake = [](HWND, PCWSTR) -> int { throw std::bad_alloc(); };
    testing::internal::CaptureStdout();
    EXPECT_EQ(shell::replaceDirectory(folder / L"from", folder / L"to"), 1u);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "error RemoveDirectory: 2\nerror Exception\n");
}

} // namespace
