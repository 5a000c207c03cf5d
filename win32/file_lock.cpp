#include "win32/file_lock.h"

namespace win32 {
namespace {

OVERLAPPED lockedByte() {
    OVERLAPPED place{};
    place.OffsetHigh = 0x7FFFFFFF;
    return place;
}

LockState tryLock(HANDLE file, LockKind kind) {
    OVERLAPPED place = lockedByte();
    const DWORD exclusive = kind == LockKind::exclusive ? LOCKFILE_EXCLUSIVE_LOCK : 0;
    if (LockFileEx(file, exclusive | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place))
        return LockState::held;
    const DWORD error = GetLastError();
    return error == ERROR_LOCK_VIOLATION || error == ERROR_IO_PENDING ? LockState::busy
                                                                      : LockState::unavailable;
}

} // namespace

LockState lockFile(HANDLE file, LockKind kind, DWORD milliseconds) {
    LockState state = tryLock(file, kind);
    for (const ULONGLONG begin = GetTickCount64();
         state == LockState::busy && GetTickCount64() - begin < milliseconds; state = tryLock(file, kind))
        Sleep(1);
    return state;
}

void unlockFile(HANDLE file) {
    OVERLAPPED place = lockedByte();
    UnlockFileEx(file, 0, 1, 0, &place);
}

} // namespace win32
