#include "fs/file_io.h"

#include "win32/file_access.h"
#include "win32/file_lock.h"

#include <algorithm>
#include <exception>

namespace fs {
namespace {

constexpr std::size_t kPiece = 65'536; // bytes; a larger buffer takes longer to allocate than to fill
constexpr std::size_t kPage = 4096;
constexpr std::size_t kMostPadding = 16 << 20; // bytes; bounds the memory for the padded contents
constexpr int kMostReads = 10;
constexpr ULONGLONG kInUseTime = 250;              // milliseconds
constexpr DWORD kLockTime = 2000;                  // milliseconds
constexpr std::uint64_t kSettlingTime = 2'500'000; // in units of 100 ns: 250 ms

/// Repeats `attempt` until it returns true or \ref kInUseTime has passed.
template <class Attempt>
bool retried(Attempt attempt) {
    if (attempt())
        return true;
    const ULONGLONG begin = GetTickCount64();
    do {
        Sleep(5);
        if (attempt())
            return true;
    } while (GetTickCount64() - begin < kInUseTime);
    return false;
}

bool isInUse(DWORD error) {
    return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION;
}

/// Returns true for an error that means that the file does not exist.
bool isAbsent(DWORD error) {
    constexpr DWORD kErrors[] = {ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_INVALID_NAME,
                                 ERROR_BAD_PATHNAME,   ERROR_INVALID_DRIVE,  ERROR_FILENAME_EXCED_RANGE,
                                 ERROR_BAD_NETPATH,    ERROR_BAD_NET_NAME};
    return std::ranges::find(kErrors, error) != std::end(kErrors);
}

/// Opens or creates a file. Retries while the file is in use.
/// \param[out] error GetLastError after the last CreateFileW, also on success.
win32::KernelHandle opened(const std::wstring& path, DWORD access, DWORD share, DWORD disposition,
                           DWORD& error) {
    win32::KernelHandle file;
    retried([&] {
        file.reset(
            CreateFileW(path.c_str(), access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
        error = GetLastError();
        return file || !isInUse(error);
    });
    return file;
}

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// Opens a file for reading. Shares all access: without FILE_SHARE_WRITE, a reader would make savers fail.
int openForReading(const std::wstring& path, win32::KernelHandle& file) {
    if (path.empty())
        return kStatusNoFile;
    DWORD attributes = INVALID_FILE_ATTRIBUTES, error = ERROR_SUCCESS;
    retried([&] {
        attributes = GetFileAttributesW(path.c_str());
        error = GetLastError();
        return attributes != INVALID_FILE_ATTRIBUTES || isAbsent(error);
    });
    if (attributes == FILE_ATTRIBUTE_DIRECTORY || (attributes == INVALID_FILE_ATTRIBUTES && isAbsent(error)))
        return kStatusNoFile;
    // After any other error of GetFileAttributesW the file may exist: CreateFileW decides.
    file = opened(path, GENERIC_READ, kShareAll, OPEN_EXISTING, error);
    if (file)
        return 0;
    return isAbsent(error) ? kStatusNoFile : kStatusFileFailed;
}

/// Contents of a file of at most \ref kPage bytes. The additional byte detects a longer file.
struct Page {
    char bytes[kPage + 1];
    std::size_t size = 0;

    bool read(HANDLE file) { return win32::readAt(file, 0, bytes, sizeof bytes, size) && size <= kPage; }
    std::string_view text() const { return {bytes, size}; }
};

/// \throws std::bad_alloc, std::length_error
bool readAll(HANDLE file, std::string& contents) {
    if (Page page; page.read(file)) {
        contents = page.text();
        return true;
    }
    // Retries if the file grew during the read: a partial text would end inside a value. Bounded, because a
    // process may append indefinitely.
    for (int reads = 0; reads < kMostReads; ++reads) {
        LARGE_INTEGER size;
        if (!GetFileSizeEx(file, &size))
            return false;
        contents.resize(static_cast<std::size_t>(size.QuadPart) + 1);
        std::size_t got = 0;
        if (!win32::readAt(file, 0, contents.data(), contents.size(), got))
            return false;
        const bool isWhole = got < contents.size();
        contents.resize(got);
        if (isWhole)
            break;
    }
    return true;
}

/// Returns true if a write may be in progress. On some file systems a read can overlap a write and return a
/// mix of old and new contents. Those file systems set the last-write time when the write begins.
bool isJustWritten(HANDLE file) {
    FILETIME now, written;
    if (!GetFileTime(file, nullptr, nullptr, &written))
        return true;
    GetSystemTimeAsFileTime(&now);
    const auto ticks = [](const FILETIME& time) {
        return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
    };
    return ticks(now) < ticks(written) + kSettlingTime; // also if the clock was set back
}

/// \return False if the file is longer than a page, cannot be read, or may be changing.
bool readSettled(HANDLE file, Page& page) {
    return page.read(file) && !isJustWritten(file);
}

} // namespace

int readFile(const std::wstring& path, FileForm form, std::string& contents) {
    win32::KernelHandle file;
    if (const int status = openForReading(path, file))
        return status;
    try {
        if (Page page; form == FileForm::plain && readSettled(file.get(), page)) {
            contents = page.text();
            return 0;
        }
        win32::lockFile(file.get(), win32::LockKind::shared, kLockTime); // until the handle is closed
        return readAll(file.get(), contents) ? 0 : kStatusFileFailed;
    } catch (const std::exception&) {
        return kStatusFileFailed;
    }
}

int readPieces(const std::wstring& path, const std::function<void(std::string_view)>& take) {
    win32::KernelHandle file;
    if (const int status = openForReading(path, file))
        return status;
    if (Page page; readSettled(file.get(), page)) {
        take(page.text());
        return 0;
    }
    win32::lockFile(file.get(), win32::LockKind::shared, kLockTime); // until the handle is closed
    std::string piece(kPiece, '\0');
    std::size_t got = 0;
    for (std::uint64_t offset = 0;; offset += got) {
        if (!win32::readAt(file.get(), offset, piece.data(), piece.size(), got))
            return kStatusFileFailed;
        take({piece.data(), got});
        if (got < piece.size())
            return 0;
    }
}

void emptyFile(const std::wstring& path) {
    DWORD error = ERROR_SUCCESS;
    opened(path, GENERIC_WRITE, 0, TRUNCATE_EXISTING, error);
}

SharedFile::SharedFile(const std::wstring& path)
    : path_(path), file_(opened(path, GENERIC_READ | GENERIC_WRITE, kShareAll, OPEN_ALWAYS, error_)) {
    if (!file_)
        return;
    existed_ = error_ == ERROR_ALREADY_EXISTS;
    isLocked_ = win32::lockFile(file_.get(), win32::LockKind::exclusive, kLockTime) == win32::LockState::held;
}

bool SharedFile::read(FileForm form, std::string& contents) {
    // Opening for writing failed. The file may still be readable.
    if (!file_)
        return readFile(path_, form, contents) == 0 || (contents.clear(), false);
    // Reads even a file that this object created: another process may have written it before this one
    // acquired the lock.
    if (!readAll(file_.get(), contents)) {
        contents.clear();
        return false;
    }
    return existed_;
}

int SharedFile::replace(std::string_view contents, std::string_view old, FileForm form) {
    LARGE_INTEGER size{};
    if (!file_)
        return error_ == ERROR_ACCESS_DENIED ? overwrite(contents) : kStatusFileFailed;
    if (!GetFileSizeEx(file_.get(), &size))
        return kStatusFileFailed;
    const auto oldSize = static_cast<std::size_t>(size.QuadPart);

    // Only plain files are padded: zeros that a killed process leaves would make an enciphered file
    // unreadable.
    std::string padded;
    if (form == FileForm::plain && contents.size() > oldSize) {
        // Reserves the space before any byte changes. Writes zeros, because setFileSize reserves no space if
        // the file system stores the file sparsely.
        if (!win32::writeAt(file_.get(), oldSize, std::string(contents.size() - oldSize, '\0'))) {
            win32::setFileSize(file_.get(), oldSize);
            return kStatusFileFailed;
        }
    } else if (form == FileForm::plain && contents.size() < oldSize && oldSize <= kMostPadding) {
        padded = contents;
        padded.resize(oldSize);
    }
    const std::string_view bytes = padded.empty() ? contents : padded;
    if (!win32::writeAt(file_.get(), 0, bytes)) {
        win32::writeAt(file_.get(), 0, old);
        win32::setFileSize(file_.get(), oldSize);
        return kStatusFileFailed;
    }
    if (contents.size() >= oldSize)
        return 0;
    // Without the lock, another saver may have written longer contents meanwhile. Truncating would cut them.
    std::string now;
    const bool isKnown = isLocked_ || readAll(file_.get(), now);
    if (!isLocked_ && isKnown && !now.starts_with(bytes))
        return 0;
    // Padding may stay. The end of the old contents may not: it would bring removed keys back, or make an
    // enciphered file unreadable.
    if (!(isKnown && win32::setFileSize(file_.get(), contents.size())) && padded.empty()) {
        win32::writeAt(file_.get(), 0, old);
        return kStatusFileFailed;
    }
    return 0;
}

/// Truncates and writes a file that may be written but not read. Its old contents are lost.
int SharedFile::overwrite(std::string_view contents) {
    file_ = opened(path_, GENERIC_WRITE, kShareAll, CREATE_ALWAYS, error_);
    return file_ && win32::writeAt(file_.get(), 0, contents) ? 0 : kStatusFileFailed;
}

} // namespace fs
