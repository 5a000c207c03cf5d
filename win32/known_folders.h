#pragma once

#include <functional>
#include <string>

namespace win32 {

/// Name of the suite's folder in the user's application data.
inline constexpr wchar_t kBrandFolder[] = L"Quenlith";

enum class KnownFolder { roamingAppData, localAppData };

/// Receives one line of text for each DLL or function that cannot be loaded. May be empty: nothing is then
/// reported.
using ProblemReport = std::function<void(const std::string& problem)>;

/// \brief Finds a known folder of the user.
///
/// Loads SHGetKnownFolderPath at run time, so that the DLL also loads on systems without the function.
/// \return The folder without a trailing backslash; empty if it cannot be found.
std::wstring knownFolder(KnownFolder folder, const ProblemReport& report);

/// \brief Returns the settings folder of the suite, \ref kBrandFolder in the roaming data. Creates it if it
/// is missing.
/// \return Empty if the roaming folder cannot be found.
std::wstring settingsFolder(const ProblemReport& report);

/// \brief Returns the folder of the suite's log files, "logs" in the roaming data. Does not create it.
/// \return Empty if the roaming folder cannot be found.
std::wstring logsFolder(const ProblemReport& report);

} // namespace win32
