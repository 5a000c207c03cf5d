#include "corelog/log_file.h"

namespace CoreLog {
namespace {

constexpr ULONGLONG kLockTime = 2000; // milliseconds

/// Holds a one-byte lock far behind the end of the file, where it keeps nobody from reading. It is asked for
/// again and again for a while only: a process that never lets go of it must not bring all others to a halt.
class FileLock {
public:
    explicit FileLock(HANDLE file) : file_(file) {
        const ULONGLONG begin = GetTickCount64();
        while (!(held_ = tryLock()) && GetTickCount64() - begin < kLockTime)
            Sleep(1);
    }
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock() {
        OVERLAPPED place = lockPlace();
        if (held_)
            UnlockFileEx(file_, 0, 1, 0, &place);
    }
    explicit operator bool() const { return held_; }

private:
    bool tryLock() const {
        OVERLAPPED place = lockPlace();
        return LockFileEx(file_, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place) !=
               FALSE;
    }

    static OVERLAPPED lockPlace() {
        OVERLAPPED place{};
        place.OffsetHigh = 0x7FFFFFFF;
        return place;
    }

    HANDLE file_;
    bool held_ = false;
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
    const FileLock lock(file_.get());
    LARGE_INTEGER size;
    if (!lock || !GetFileSizeEx(file_.get(), &size))
        return;
    const std::int64_t newSize = size.QuadPart + static_cast<std::int64_t>(bytes.size());
    if (size.QuadPart > 0 && newSize > kLargestLog && handOver(newSize > 2 * kLargestLog))
        size.QuadPart = 0;
    OVERLAPPED end{};
    end.Offset = size.LowPart;
    end.OffsetHigh = static_cast<DWORD>(size.HighPart);
    DWORD written = 0;
    WriteFile(file_.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, &end);
}

/// \return Whether the file was emptied: without a copy only when that `must` be.
bool LogFile::handOver(bool must) const {
    if (!CopyFileW(path_.c_str(), (path_ + L".1").c_str(), FALSE) && !must)
        return false;
    return SetFilePointerEx(file_.get(), LARGE_INTEGER{}, nullptr, FILE_BEGIN) && SetEndOfFile(file_.get());
}

} // namespace CoreLog
