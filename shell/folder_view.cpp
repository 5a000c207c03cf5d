#include "shell/folder_view.h"

#include "shell/folder_window.h"
#include "shell/view_tables.h"

#include <algorithm>
#include <bit>

namespace shell {
namespace {

std::uint32_t codeOf(const PROPERTYKEY& key) {
    return codeOfColumn(std::bit_cast<TColumnKey>(key));
}

void readViewMode(std::uint32_t mode, TFolderViewOptions& options) {
    if (const std::uint32_t code = codeOfViewMode(mode))
        options.viewCode = code;
}

void read(const FolderWindow& window, TFolderViewOptions& options) {
    if (!window.view2) {
        UINT mode = 0;
        if (SUCCEEDED(window.view->GetCurrentViewMode(&mode)))
            readViewMode(mode, options);
        return;
    }
    SORTCOLUMN column{};
    if (SUCCEEDED(window.view2->GetSortColumns(&column, 1)))
        options.sort = {.code = codeOf(column.propkey), .isAscending = false};
    PROPERTYKEY key{};
    BOOL isAscending = TRUE;
    if (SUCCEEDED(window.view2->GetGroupBy(&key, &isAscending)))
        options.group = {.code = codeOf(key), .isAscending = isAscending == TRUE};
    FOLDERVIEWMODE mode = FVM_AUTO;
    int iconSize = 0;
    if (SUCCEEDED(window.view2->GetViewModeAndIconSize(&mode, &iconSize)))
        readViewMode(static_cast<std::uint32_t>(mode), options);
}

void writeColumns(IFolderView2& view, const TFolderViewOptions& options) {
    if (const TColumnKey* sortKey = keyOfColumn(options.sort.code)) {
        const SORTCOLUMN column{std::bit_cast<PROPERTYKEY>(*sortKey),
                                options.sort.isAscending ? SORT_ASCENDING : SORT_DESCENDING};
        view.SetSortColumns(&column, 1);
    }
    if (const TColumnKey* groupKey = keyOfColumn(options.group.code))
        view.SetGroupBy(std::bit_cast<PROPERTYKEY>(*groupKey), options.sort.isAscending);
}

void write(const FolderWindow& window, const TFolderViewOptions& options) {
    if (window.view2)
        writeColumns(*window.view2.get(), options);
    if (const TView* view = viewOfCode(options.viewCode)) {
        const bool isSet = window.view2 && SUCCEEDED(window.view2->SetViewModeAndIconSize(
                                               static_cast<FOLDERVIEWMODE>(view->mode), view->iconSize));
        if (!isSet)
            window.view->SetCurrentViewMode(view->mode);
    }
    window.shellView->SaveViewState();
    window.shellView->Refresh();
}

TFolderViewOutcome visit(std::wstring folder, const std::function<void(const FolderWindow&)>& visitor) {
    std::ranges::replace(folder, L'/', L'\\');
    if (folder.empty() || !openFolderWindow(folder))
        return {.error = ERROR_INVALID_PARAMETER};
    win32::ComPointer<IShellWindows> windows;
    HRESULT result = win32::checked(
        CoCreateInstance(CLSID_ShellWindows, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(windows.receive())),
        windows);
    long count = 0;
    if (SUCCEEDED(result))
        result = windows->get_Count(&count);
    if (FAILED(result))
        return {.error = static_cast<std::uint32_t>(HRESULT_CODE(result))};
    visitFolderWindows(*windows.get(), count, folder, visitor);
    return {.status = count == 0 ? kStatusNoWindow : 0};
}

} // namespace

TFolderViewOutcome retrieveFolderView(const std::wstring& folder, TFolderViewOptions& options) {
    return visit(folder, [&](const FolderWindow& window) { read(window, options); });
}

TFolderViewOutcome assignFolderView(const std::wstring& folder, const TFolderViewOptions& options) {
    return visit(folder, [&](const FolderWindow& window) { write(window, options); });
}

} // namespace shell
