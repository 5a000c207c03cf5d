#pragma once

#include <cstdint>
#include <string>

namespace shell {

struct TSortOption {
    std::uint32_t code = 0; ///< A ZELSYSHELPER_COLUMN_ constant; 0: not set or unknown.
    bool isAscending = true;
};

struct TFolderViewOptions {
    std::uint32_t viewCode = 0; ///< A ZELSYSHELPER_VIEW_ constant; 0: not set or unknown.
    TSortOption sort{};
    TSortOption group{}; ///< Assigning ignores its direction and uses that of `sort`.
};

inline constexpr std::uint32_t kStatusNoWindow = 1000;

struct TFolderViewOutcome {
    std::uint32_t error = 0;  ///< 87: no such folder; otherwise the low 16 bits of an HRESULT.
    std::uint32_t status = 0; ///< \ref kStatusNoWindow if no file-manager window is open.
};

/// \brief Opens a file-manager window on a folder and reads the view of the windows that show it. Of several
/// windows, the last one determines the result.
///
/// COM must be initialised on the calling thread. Skips windows whose interfaces fail. Blocks while the file
/// manager does not respond.
/// \param[in,out] options Fields that no window reports are left unchanged. The direction of `sort` is not
///                        read: it becomes descending once a window reports its sort column.
TFolderViewOutcome retrieveFolderView(const std::wstring& folder, TFolderViewOptions& options);

/// \brief Opens a file-manager window on a folder, sets the view of all windows that show it, and saves the
/// view for the folder.
///
/// Otherwise identical to `retrieveFolderView`. Unknown codes leave their part of the view unchanged.
TFolderViewOutcome assignFolderView(const std::wstring& folder, const TFolderViewOptions& options);

} // namespace shell
