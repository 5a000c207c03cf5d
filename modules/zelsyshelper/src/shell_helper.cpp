#include "zelsyshelper.h"

#include "modules/zelsyshelper/src/export_frame.h"
#include "shell/directory_copy.h"
#include "shell/extension_presence.h"
#include "shell/folder_view.h"
#include "shell/shell_link.h"

#include <optional>

#include <windows.h>

namespace {

using frame::owned;
using frame::put;

SortOption exported(const shell::TSortOption& option) {
    return {option.code, option.isAscending};
}

/// Runs work whose outcome is two numbers, and stores both for the caller.
/// \param failureDetail The second number if the work throws.
template <class Work>
void runWithOutcome(uint32_t* error, uint32_t* detail, std::uint32_t failureDetail, Work work) {
    put(detail, failureDetail);
    const auto failure = frame::run(std::uint32_t{ERROR_NOT_ENOUGH_MEMORY}, [&] {
        const auto [errorCode, detailCode] = work();
        put(detail, static_cast<std::uint32_t>(detailCode));
        return errorCode;
    });
    put(error, static_cast<std::uint32_t>(failure));
}

} // namespace

void assignShellFolderViewOptions(const wchar_t* folder, const uint32_t* viewCode, const SortOption* sort,
                                  const uint32_t* groupCode, uint32_t* error, uint32_t* status) {
    runWithOutcome(error, status, 0, [=] {
        shell::TFolderViewOptions options;
        if (viewCode != nullptr)
            options.viewCode = *viewCode;
        if (sort != nullptr)
            options.sort = {.code = sort->code, .isAscending = sort->ascending != 0};
        if (groupCode != nullptr)
            options.group.code = *groupCode;
        return shell::assignFolderView(owned(folder), options);
    });
}

void retrieveShellFolderViewOptions(const wchar_t* folder, uint32_t* viewCode, SortOption* sort,
                                    SortOption* group, uint32_t* error, uint32_t* status) {
    shell::TFolderViewOptions options;
    runWithOutcome(error, status, 0, [&] { return shell::retrieveFolderView(owned(folder), options); });
    put(viewCode, options.viewCode);
    put(sort, exported(options.sort));
    put(group, exported(options.group));
}

void createShellLink(const wchar_t* target, const wchar_t* linkPath, const wchar_t* description,
                     uint32_t* error, uint32_t* failedStep) {
    using shell::LinkStep;
    runWithOutcome(error, failedStep, ZELSYSHELPER_LINK_CREATE, [=] {
        // A null link path takes precedence over a target that is empty but not null.
        if (target != nullptr && linkPath == nullptr)
            return shell::TLinkOutcome{ERROR_INVALID_PARAMETER, LinkStep::linkPath};
        const auto text = description != nullptr ? std::optional(owned(description)) : std::nullopt;
        return shell::createLink(owned(target), owned(linkPath), text);
    });
}

uint64_t copyDirEx(const wchar_t* source, const wchar_t* destination) {
    return frame::run(std::uint32_t{1},
                      [=] { return shell::replaceDirectory(owned(source), owned(destination)); });
}

uint64_t zelChromeExtWasDeleted(void) {
    return frame::run(shell::kExtensionAbsent, shell::extensionState);
}
