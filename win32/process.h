#pragma once

#include <functional>
#include <string>

namespace win32 {

/// \brief Reads an environment variable.
/// \return Its value; empty when it is missing or does not fit 2048 characters with its terminator.
std::wstring environmentVariable(const wchar_t* name);

/// \brief Whether the process is going down.
///
/// Destructors of static objects ask before they call other DLLs: at process exit all other threads are
/// gone, wherever they stood, and the system takes back every resource by itself.
bool isProcessEnding();

/// \brief Keeps the module of this code loaded until the process ends, whoever frees it.
void pinModule();

/// \brief Runs `work` on a new thread that nobody waits for.
///
/// The DLL stays loaded until the thread has ended, even when its last user frees it meanwhile.
/// \return False when the thread could not be started; `work` has not run then.
bool runDetached(std::function<void()> work);

} // namespace win32
