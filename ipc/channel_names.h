#pragma once

#include <string>

namespace ipc {

/// \brief The name of the mutex that marks a running instance of an application. Names that differ only in
/// the case of their letters give the same mutex.
std::wstring instanceMutexName(const std::string& application);

/// \brief The base name of the pipe that a running instance of an application serves.
std::wstring pipeBaseName(const std::string& application);

} // namespace ipc
