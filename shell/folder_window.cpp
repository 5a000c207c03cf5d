#include "shell/folder_window.h"

#include <algorithm>
#include <cwchar>

#include <servprov.h>
#include <shlguid.h>

namespace shell {
namespace {

using win32::checked;
using win32::ComPointer;
using win32::ItemList;
using win32::queryInterface;

ComPointer<IShellView> activeView(IShellWindows& windows, long index) {
    VARIANT place{};
    place.vt = VT_I4;
    place.lVal = index;
    ComPointer<IDispatch> item;
    if (FAILED(checked(windows.Item(place, item.receive()), item)))
        return {};
    const auto services = queryInterface<IServiceProvider>(queryInterface<IWebBrowserApp>(item));
    ComPointer<IShellBrowser> browser;
    if (!services ||
        FAILED(
            checked(services->QueryService(SID_STopLevelBrowser, IID_PPV_ARGS(browser.receive())), browser)))
        return {};
    ComPointer<IShellView> view;
    checked(browser->QueryActiveShellView(view.receive()), view);
    return view;
}

/// Returns the path that a view shows, with backslashes. Empty if the view shows no file-system folder or a
/// call fails.
std::wstring shownPath(const ComPointer<IFolderView>& view) {
    ComPointer<IPersistFolder2> folder;
    if (!view || FAILED(checked(view->GetFolder(IID_PPV_ARGS(folder.receive())), folder)))
        return {};
    ItemList list;
    wchar_t path[MAX_PATH] = L"";
    if (FAILED(folder->GetCurFolder(list.receive())) || !SHGetPathFromIDListW(list.get(), path))
        return {};
    std::ranges::replace(path, L'/', L'\\');
    return path;
}

} // namespace

bool openFolderWindow(const std::wstring& folder) {
    const ItemList list(ILCreateFromPathW(folder.c_str()));
    if (!list)
        return false;
    // With one null child, SHOpenFolderAndSelectItems opens the folder itself. With no child it opens the
    // parent and selects the folder.
    PCUITEMID_CHILD nothing = nullptr;
    SHOpenFolderAndSelectItems(list.get(), 1, &nothing, 0);
    return true;
}

void visitFolderWindows(IShellWindows& windows, long count, const std::wstring& folder,
                        const std::function<void(const FolderWindow&)>& visit) {
    for (long index = 0; index < count; ++index) {
        FolderWindow window{.shellView = activeView(windows, index), .view = {}, .view2 = {}};
        window.view = queryInterface<IFolderView>(window.shellView);
        if (_wcsicmp(shownPath(window.view).c_str(), folder.c_str()) != 0)
            continue;
        window.view2 = queryInterface<IFolderView2>(window.view);
        visit(window);
    }
}

} // namespace shell
