#pragma once

#include <windows.h>

namespace win32 {

enum class LockKind { shared, exclusive };

enum class LockState {
    held,
    busy,       ///< Time-out: another handle held the lock.
    unavailable ///< Another failure, such as a file system without byte locks.
};

/// \brief Acquires an advisory lock on a file. Retries every millisecond while another handle holds the lock.
///
/// Locks one byte far beyond the end of the file, so that the lock blocks no read and no write. Serialises
/// the threads and processes that call `lockFile`, each with its own handle; shared locks do not exclude each
/// other. The system releases the lock when the handle is closed or its process dies.
/// \param file Open for reading or writing.
/// \param milliseconds Time-out; 0 tries once.
LockState lockFile(HANDLE file, LockKind kind, DWORD milliseconds);

/// \brief Releases the lock without closing the handle.
void unlockFile(HANDLE file);

} // namespace win32
