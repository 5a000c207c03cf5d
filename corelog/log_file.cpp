#include "corelog/log_file.h"

#include "win32/file_access.h"
#include "win32/file_lock.h"

#include <atomic>
#include <memory>

namespace CoreLog {
namespace {

constexpr DWORD kLockTime = 2000;      // milliseconds
constexpr std::size_t kPiece = 65'536; // bytes

/// Set once a process has kept the lock for \ref kLockTime: until it can be acquired again, no line waits for
/// it.
std::atomic<bool> isLockStuck;

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
    isLockStuck = lock == win32::LockState::busy;
    if (isLockStuck) {
        win32::writeAt(file_.get(), win32::kEndOfFile, bytes);
        return;
    }
    const std::unique_ptr<void, Unlock> unlock(lock == win32::LockState::held ? file_.get() : nullptr);
    appendLocked(bytes);
}

void LogFile::appendLocked(std::string_view bytes) const {
    LARGE_INTEGER found;
    if (!GetFileSizeEx(file_.get(), &found))
        return;
    auto size = static_cast<std::uint64_t>(found.QuadPart);
    const std::uint64_t newSize = size + bytes.size();
    if (size > 0 && newSize > kLargestLog && handOver(size, newSize > 2 * kLargestLog))
        size = 0;
    if (!win32::writeAt(file_.get(), size, bytes))
        win32::setFileSize(file_.get(), size); // the next line must not continue a torn one
}

/// \return Whether the file was emptied: without a copy only if that `must` be.
bool LogFile::handOver(std::uint64_t size, bool must) const {
    return (copyEnd(file_.get(), size, path_ + L".1") || must) && win32::setFileSize(file_.get(), 0);
}

} // namespace CoreLog
