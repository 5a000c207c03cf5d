#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace win32 {

/// The suite's folder below the user's application data.
inline constexpr wchar_t kBrandFolder[] = L"Quenlith";

enum class KnownFolder { roamingAppData, localAppData };

/// Receives one line of text for each problem. May be empty: the problem is then not told.
using ProblemReport = std::function<void(const std::string& problem)>;

/// \brief Finds a known folder of the user.
///
/// The shell's function is loaded at run time, so that the library loads where it is missing.
/// \return The folder without a trailing backslash; empty on any failure.
std::wstring knownFolder(KnownFolder folder, const ProblemReport& report);

/// \brief Joins two parts of a path with one backslash; an empty \p name leaves \p folder as it is.
std::wstring joinPath(std::wstring folder, std::wstring_view name);

/// \brief The settings folder of the suite, roaming data joined with the brand folder. Created when missing.
/// \return Empty when the roaming folder cannot be found.
std::wstring settingsFolder(const ProblemReport& report);

/// \brief The folder of the suite's log files, roaming data joined with "logs". Not created here.
/// \return Empty when the roaming folder cannot be found.
std::wstring logsFolder(const ProblemReport& report);

} // namespace win32
