#include "fs/file_io.h"

#include "win32/owner.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <memory>
#include <vector>

namespace fs {
namespace {

struct StreamCloser {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, StreamCloser>;

constexpr DWORD kLargestWrite = 1u << 30;
constexpr std::size_t kPiece = 65'536; // bytes; larger blocks of memory cost more than the reading
constexpr int kMostReads = 10;

int openForReading(const std::wstring& path, Stream& stream) {
    std::FILE* opened = nullptr;
    if (const errno_t error = _wfopen_s(&opened, path.c_str(), L"rb"))
        return error;
    stream.reset(opened);
    return stream ? 0 : kStatusEmptyStream;
}

} // namespace

bool fileExists(const std::wstring& path) {
    if (path.empty())
        return false;
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && attributes != FILE_ATTRIBUTE_DIRECTORY;
}

int readFile(const std::wstring& path, std::string& contents) {
    Stream stream;
    if (const int status = openForReading(path, stream))
        return status;
    std::size_t size = 0, got = 1;
    // Once more where another process has made the file longer meanwhile: a part would end within a value. Not without
    // end, since somebody may append for ever.
    for (int reads = 0; got > size && reads < kMostReads; ++reads) {
        if (_fseeki64(stream.get(), 0, SEEK_END) != 0)
            return EIO;
        const long long end = _ftelli64(stream.get());
        if (end < 0 || _fseeki64(stream.get(), 0, SEEK_SET) != 0)
            return EIO;
        size = static_cast<std::size_t>(end);
        try {
            contents.resize(size + 1);
        } catch (const std::exception&) {
            return ENOMEM;
        }
        got = std::fread(contents.data(), 1, contents.size(), stream.get());
        if (std::ferror(stream.get()) != 0)
            return EIO;
    }
    contents.resize(got); // it may have been cut, too
    return 0;
}

int readPieces(const std::wstring& path, const std::function<void(std::string_view)>& take) {
    Stream stream;
    if (const int status = openForReading(path, stream))
        return status;
    std::vector<char> piece(kPiece);
    while (const std::size_t got = std::fread(piece.data(), 1, piece.size(), stream.get()))
        take({piece.data(), got});
    return std::ferror(stream.get()) != 0 ? EIO : 0;
}

int writeFile(const std::wstring& path, std::string_view contents) {
    const win32::KernelHandle file(CreateFileW(path.c_str(), GENERIC_WRITE,
                                               FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, CREATE_ALWAYS,
                                               FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
        return kStatusFileFailed;
    while (!contents.empty()) {
        const auto part = static_cast<DWORD>(std::min<std::size_t>(contents.size(), kLargestWrite));
        DWORD written = 0;
        if (!WriteFile(file.get(), contents.data(), part, &written, nullptr) || written == 0)
            return kStatusFileFailed;
        contents.remove_prefix(written);
    }
    return 0;
}

} // namespace fs
