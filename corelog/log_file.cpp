#include "corelog/log_file.h"

#include "win32/file_access.h"
#include "win32/file_lock.h"

#include <atomic>
#include <memory>

namespace CoreLog {
namespace {

constexpr DWORD kLockTime = 2000;                 // milliseconds
constexpr std::size_t kPiece = 65'536;            // bytes
constexpr std::uint64_t kHandOverPause = 262'144; // bytes

/// Set once a process has kept the lock for \ref kLockTime: until it can be acquired again, no line waits for
/// it.
std::atomic<bool> isLockStuck;

/// After a hand-over that has failed, the size at which the next one is tried: not with each line, since a
/// copy of megabytes takes milliseconds.
std::atomic<std::uint64_t> nextHandOver;

/// Copies the end of the file, at most \ref kLargestLog bytes that begin with a whole line: a log that
/// something else has filled with gigabytes must not keep every process waiting.
bool copyEnd(HANDLE file, std::uint64_t size, const std::wstring& path) {
    const win32::KernelHandle copy(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                               CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!copy)
        return false;
    std::string piece(kPiece, '\0');
    const std::uint64_t begin = size > kLargestLog ? size - kLargestLog : 0;
    std::size_t got = 0;
    for (std::uint64_t from = begin, to = 0; from < size; from += got) {
        if (!win32::readAt(file, from, piece.data(), piece.size(), got) || got == 0)
            return false;
        std::string_view bytes(piece.data(), got);
        if (from == begin && begin != 0)
            bytes.remove_prefix(bytes.find('\n') + 1);
        if (!win32::writeAt(copy.get(), to, bytes))
            return false;
        to += bytes.size();
    }
    return true;
}

struct Unlock {
    void operator()(HANDLE file) const { win32::unlockFile(file); }
};

} // namespace

bool LogFile::open() {
    if (!file_)
        file_.reset(CreateFileW(path_.c_str(), GENERIC_READ | GENERIC_WRITE,
                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
    return static_cast<bool>(file_);
}

void LogFile::append(std::string_view bytes) {
    if (!open())
        return;
    const win32::LockState lock =
        win32::lockFile(file_.get(), win32::LockKind::exclusive, isLockStuck ? 0 : kLockTime);
    const std::unique_ptr<void, Unlock> unlock(lock == win32::LockState::held ? file_.get() : nullptr);
    isLockStuck = lock == win32::LockState::busy;
    LARGE_INTEGER found;
    if (!GetFileSizeEx(file_.get(), &found))
        return;
    auto size = static_cast<std::uint64_t>(found.QuadPart);
    if (!isLockStuck && size > 0 && size + bytes.size() > kLargestLog && size >= nextHandOver)
        size = handOver(size);
    if (lock != win32::LockState::held)
        win32::appendTo(file_.get(), bytes);
    else if (!win32::writeAt(file_.get(), size, bytes))
        win32::setFileSize(file_.get(), size); // the next line must not continue a torn one
}

/// Empties the file after a copy of its end, or without one if it has twice its size.
/// \return The size that it then has.
std::uint64_t LogFile::handOver(std::uint64_t size) const {
    const bool isEmpty = (copyEnd(file_.get(), size, path_ + L".1") || size > 2 * kLargestLog) &&
                         win32::setFileSize(file_.get(), 0);
    nextHandOver = isEmpty ? 0 : size + kHandOverPause;
    return isEmpty ? 0 : size;
}

} // namespace CoreLog
