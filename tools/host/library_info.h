#pragma once

#include <string>

#include <windows.h>

namespace host {

/// The path of the DLL and texts of its version resource. A missing text is empty.
struct LibraryInfo {
    std::wstring path;
    std::wstring version;
    std::wstring statisticsUrl; ///< The built-in host of events.
    std::wstring countryUrl;    ///< The built-in host of country lookups.
};

/// \brief Reads the version resource of a loaded DLL.
///
/// The hosts come from the DLL itself, not from the build of this program: with --dll the two can differ.
LibraryInfo libraryInfo(HMODULE module);

} // namespace host
