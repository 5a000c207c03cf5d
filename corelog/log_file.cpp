#include "corelog/log_file.h"

namespace CoreLog {
namespace {

/// Holds a one-byte lock far behind the end of the file, where it keeps nobody from reading.
class FileLock {
public:
    explicit FileLock(HANDLE file) : file_(file) {
        OVERLAPPED place = lockPlace();
        held_ = LockFileEx(file_, LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &place) != FALSE;
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
    static OVERLAPPED lockPlace() {
        OVERLAPPED place{};
        place.OffsetHigh = 0x7FFFFFFF;
        return place;
    }

    HANDLE file_;
    bool held_ = false;
};

} // namespace

unsigned long LogFile::open(const std::wstring& path) {
    path_ = path;
    file_.reset(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                            FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL, nullptr));
    return file_ ? 0 : GetLastError();
}

void LogFile::append(std::string_view bytes) const {
    const FileLock lock(file_.get());
    LARGE_INTEGER size;
    if (!lock || !GetFileSizeEx(file_.get(), &size))
        return;
    if (size.QuadPart > 0 && size.QuadPart + static_cast<std::int64_t>(bytes.size()) > kLargestLog) {
        handOver();
        size.QuadPart = 0;
    }
    OVERLAPPED end{};
    end.Offset = size.LowPart;
    end.OffsetHigh = static_cast<DWORD>(size.HighPart);
    DWORD written = 0;
    WriteFile(file_.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, &end);
}

void LogFile::handOver() const {
    // The bound holds even when the copy cannot be made, as on a full disk.
    CopyFileW(path_.c_str(), (path_ + L".1").c_str(), FALSE);
    SetFilePointerEx(file_.get(), LARGE_INTEGER{}, nullptr, FILE_BEGIN);
    SetEndOfFile(file_.get());
}

} // namespace CoreLog
