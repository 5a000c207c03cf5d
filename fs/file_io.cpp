#include "fs/file_io.h"

#include "win32/file_access.h"
#include "win32/file_lock.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <memory>

#include <io.h>

namespace fs {
namespace {

struct StreamCloser {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, StreamCloser>;

constexpr std::size_t kPiece = 65'536; // bytes; larger blocks of memory cost more than the reading
constexpr std::size_t kPage = 4096;
constexpr int kMostReads = 10;
constexpr ULONGLONG kInUseTime = 250; // milliseconds
constexpr DWORD kLockTime = 2000;     // milliseconds

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

/// Errors of a path that no file can have, now or in a moment.
bool isAbsent(DWORD error) {
    constexpr DWORD kErrors[] = {ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_INVALID_NAME,
                                 ERROR_BAD_PATHNAME,   ERROR_INVALID_DRIVE,  ERROR_FILENAME_EXCED_RANGE};
    return std::ranges::find(kErrors, error) != std::end(kErrors);
}

enum class Existence { absent, present, unknown };

Existence existenceOf(const std::wstring& path) {
    if (path.empty())
        return Existence::absent;
    DWORD attributes = INVALID_FILE_ATTRIBUTES;
    bool absent = false;
    const bool isAnswered = retried([&] {
        attributes = GetFileAttributesW(path.c_str());
        absent = attributes == INVALID_FILE_ATTRIBUTES && isAbsent(GetLastError());
        return attributes != INVALID_FILE_ATTRIBUTES || absent;
    });
    if (!isAnswered)
        return Existence::unknown;
    return absent || attributes == FILE_ATTRIBUTE_DIRECTORY ? Existence::absent : Existence::present;
}

int openForReading(const std::wstring& path, Stream& stream) {
    const Existence existence = existenceOf(path);
    if (existence == Existence::absent)
        return kStatusNoFile;
    std::FILE* opened = nullptr;
    errno_t error = 0;
    const bool isAnswered = retried([&] {
        _doserrno = ERROR_SUCCESS;
        error = _wfopen_s(&opened, path.c_str(), L"rb");
        return error == 0 || !isInUse(_doserrno);
    });
    if (!isAnswered)
        return EBUSY;
    if (error != 0)
        return existence == Existence::unknown ? kStatusNoFile : error;
    stream.reset(opened);
    return stream ? 0 : kStatusEmptyStream;
}

HANDLE handleOf(const Stream& stream) {
    return reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream.get())));
}

/// A file of at most \ref kPage bytes; the byte after them shows that there are more.
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
    // Again where another process has made the file longer meanwhile, since a part would end within a value.
    // Not without end, since a process may append indefinitely.
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

/// Reads a short file twice. Some file systems let a read overlap a write, and return a mixture of the old
/// and the new contents.
/// \return False if the file is longer, cannot be read, or changed in between.
bool readStable(HANDLE file, Page& page) {
    Page again;
    return page.read(file) && again.read(file) && page.text() == again.text();
}

} // namespace

int readFile(const std::wstring& path, FileForm form, std::string& contents) {
    Stream stream;
    if (const int status = openForReading(path, stream))
        return status;
    const HANDLE file = handleOf(stream);
    try {
        if (Page page; form == FileForm::plain && readStable(file, page)) {
            contents = page.text();
            return 0;
        }
        win32::lockFile(file, win32::LockKind::shared, kLockTime); // until the stream is closed
        return readAll(file, contents) ? 0 : EIO;
    } catch (const std::exception&) {
        return ENOMEM;
    }
}

int readPieces(const std::wstring& path, const std::function<void(std::string_view)>& take) {
    Stream stream;
    if (const int status = openForReading(path, stream))
        return status;
    const HANDLE file = handleOf(stream);
    if (Page page; readStable(file, page)) {
        take(page.text());
        return 0;
    }
    win32::lockFile(file, win32::LockKind::shared, kLockTime); // until the stream is closed
    std::string piece(kPiece, '\0');
    std::size_t got = 0;
    for (std::uint64_t offset = 0;; offset += got) {
        if (!win32::readAt(file, offset, piece.data(), piece.size(), got))
            return EIO;
        take({piece.data(), got});
        if (got < piece.size())
            return 0;
    }
}

void emptyFile(const std::wstring& path) {
    retried([&] {
        const win32::KernelHandle file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, TRUNCATE_EXISTING,
                                                   FILE_ATTRIBUTE_NORMAL, nullptr));
        return file || !isInUse(GetLastError());
    });
}

SharedFile::SharedFile(const std::wstring& path) : path_(path) {
    retried([&] {
        file_.reset(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                                FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
        error_ = GetLastError();
        return file_ || !isInUse(error_);
    });
    existed_ = file_ && error_ == ERROR_ALREADY_EXISTS;
    if (file_)
        win32::lockFile(file_.get(), win32::LockKind::exclusive, kLockTime); // until the handle is closed
}

bool SharedFile::read(std::string& contents) {
    const bool wasRead = existed_ && readAll(file_.get(), contents);
    if (!wasRead)
        contents.clear();
    return wasRead;
}

int SharedFile::replace(std::string_view contents, std::string_view old, FileForm form) {
    LARGE_INTEGER size{};
    if (!file_)
        return error_ == ERROR_ACCESS_DENIED ? overwrite(contents) : kStatusFileFailed;
    if (!GetFileSizeEx(file_.get(), &size))
        return kStatusFileFailed;
    const auto oldSize = static_cast<std::size_t>(size.QuadPart);

    std::string padded;
    if (form == FileForm::plain && contents.size() > oldSize) {
        // Reserves the space before a byte is changed. Zeros instead of SetEndOfFile, which reserves none on
        // file systems with sparse files.
        if (!win32::writeAt(file_.get(), oldSize, std::string(contents.size() - oldSize, '\0'))) {
            win32::setFileSize(file_.get(), oldSize);
            return kStatusFileFailed;
        }
    } else if (form == FileForm::plain && contents.size() < oldSize) {
        padded = contents;
        padded.resize(oldSize);
    }
    if (!win32::writeAt(file_.get(), 0, padded.empty() ? contents : padded)) {
        win32::writeAt(file_.get(), 0, old);
        win32::setFileSize(file_.get(), oldSize);
        return kStatusFileFailed;
    }
    if (contents.size() < oldSize && !win32::setFileSize(file_.get(), contents.size()) &&
        form == FileForm::enciphered) {
        win32::writeAt(file_.get(), 0, old);
        return kStatusFileFailed;
    }
    return 0;
}

/// For a file that may be written, but not read: whatever it holds is given up.
int SharedFile::overwrite(std::string_view contents) {
    retried([&] {
        file_.reset(CreateFileW(path_.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
        return file_ || !isInUse(GetLastError());
    });
    return file_ && win32::writeAt(file_.get(), 0, contents) ? 0 : kStatusFileFailed;
}

} // namespace fs
