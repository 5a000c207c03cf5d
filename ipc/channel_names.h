#pragma once

#include <string>

namespace ipc {

/// \brief Returns the name of the mutex that marks a running instance of an application. Applications whose
/// names differ only in case share one mutex.
std::wstring instanceMutexName(const std::string& application);

/// \brief Returns the name, without path, of the pipe that a running instance of an application serves.
std::wstring pipeBaseName(const std::string& application);

} // namespace ipc
