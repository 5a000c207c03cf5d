#pragma once

#include <cstdint>
#include <string>

namespace shell {

struct TSortOption {
    std::uint32_t code = 0; ///< A column code, see view_tables.h; 0 for none.
    bool isAscending = true;
};

struct TFolderViewOptions {
    std::uint32_t viewCode = 0; ///< See view_tables.h; 0 for none.
    TSortOption sort;
    TSortOption group; ///< Its direction is read only; a window is grouped in the direction of its sorting.
};

inline constexpr std::uint32_t kStatusNoWindow = 1000;

struct TFolderViewOutcome {
    std::uint32_t error = 0;  ///< 87 for an unusable folder, else the low 16 bits of a COM failure.
    std::uint32_t status = 0; ///< \ref kStatusNoWindow while no file-manager window is open at all.
};

/// \brief Opens a file-manager window on a folder and reads how windows show it; the last one counts.
///
/// COM must be initialised on the calling thread. Windows that cannot be asked are passed over. Blocks while
/// the file manager does not answer.
/// \param[in,out] options What no window tells stays as it is. The direction of the sorting is not told by
///                        any:
/// where a window tells its column, the direction becomes descending.
TFolderViewOutcome retrieveFolderView(const std::wstring& folder, TFolderViewOptions& options);

/// \brief Opens a file-manager window on a folder and sets how all windows show it; they keep it for the
/// folder.
///
/// In all else as `retrieveFolderView`. Codes that are not in the tables leave their part alone.
TFolderViewOutcome assignFolderView(const std::wstring& folder, const TFolderViewOptions& options);

} // namespace shell
