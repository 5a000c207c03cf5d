#pragma once

#include <functional>
#include <string>

namespace win32 {

/// \brief Reads an environment variable.
/// \return Its value; empty if the variable is missing or longer than 2047 characters.
std::wstring environmentVariable(const wchar_t* name);

/// \brief Returns true if a running process has an executable of this name, in any letter case.
/// \param name A file name with its extension. A path never matches.
bool isModuleRunning(const std::wstring& name);

/// \brief Returns true during process exit.
///
/// Destructors of static objects check this before they call other DLLs. At process exit the system has
/// terminated all other threads, perhaps while they held a lock, and it reclaims every resource itself.
bool isProcessEnding();

/// \brief Keeps the module of this code loaded until the process ends. FreeLibrary no longer unloads it.
void pinModule();

/// \brief Runs `work` on a new thread and returns without waiting for it.
///
/// The DLL stays loaded until the thread ends, even if the application calls FreeLibrary. Discards exceptions
/// of `work`. Does not run `work` if GetModuleHandleExW or CreateThread fails.
void runDetached(std::function<void()> work);

} // namespace win32
