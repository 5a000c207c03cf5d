#pragma once

#include <windows.h>

namespace win32 {

enum class LockKind { shared, exclusive };

enum class LockState {
    held,
    busy,       ///< Another holder kept the lock for the whole time.
    unavailable ///< The file system has no byte locks.
};

/// \brief Acquires an advisory lock on one byte far beyond the end of a file, where it keeps no one from
/// reading or writing. Tries again every millisecond while another handle holds it.
///
/// Serialises the processes and threads that ask for it, each with a handle of its own. The system releases
/// the lock when the handle is closed or its process dies.
/// \param file Open for reading or writing.
/// \param milliseconds How long to try; 0 tries once.
LockState lockFile(HANDLE file, LockKind kind, DWORD milliseconds);

/// \brief Releases the lock of a handle that stays open.
void unlockFile(HANDLE file);

} // namespace win32
