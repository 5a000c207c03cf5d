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

/// True after a time-out of the lock. Calls then try the lock without waiting, until one acquires it.
std::atomic<bool> isLockStuck;

/// The size at which a failed hand-over is retried. A retry at each line would copy megabytes each time.
std::atomic<std::uint64_t> nextHandOver;

/// Copies the end of the file to `path`: at most \ref kLargestLog bytes, starting with a whole line if the
/// first piece contains a line feed. The limit bounds the time under the lock, even if another program has
/// filled the log with gigabytes.
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
    if (lock != win32::LockState::busy && size > 0 && size + bytes.size() > kLargestLog &&
        size >= nextHandOver)
        size = handOver(size);
    if (lock != win32::LockState::held)
        win32::appendTo(file_.get(), bytes);
    else if (!win32::writeAt(file_.get(), size, bytes))
        win32::setFileSize(file_.get(), size); // the next line must not continue a torn one
}

/// Copies the end of the file, then truncates the file to 0 bytes. If the copy fails, truncates only a file
/// above twice \ref kLargestLog.
/// \return The new size of the file.
std::uint64_t LogFile::handOver(std::uint64_t size) const {
    const bool isEmpty = (copyEnd(file_.get(), size, path_ + L".1") || size > 2 * kLargestLog) &&
                         win32::setFileSize(file_.get(), 0);
    nextHandOver = isEmpty ? 0 : size + kHandOverPause;
    return isEmpty ? 0 : size;
}

} // namespace CoreLog
