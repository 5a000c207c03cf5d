#include "win32/file_access.h"

#include <algorithm>

namespace win32 {
namespace {

constexpr std::size_t kLargestTransfer = 1u << 30;

// Sets the file pointer, because an OVERLAPPED offset costs a call to the Wine server for each transfer.
bool seek(HANDLE file, std::uint64_t offset) {
    LARGE_INTEGER distance{};
    distance.QuadPart = static_cast<LONGLONG>(offset);
    return SetFilePointerEx(file, distance, nullptr, FILE_BEGIN) != FALSE;
}

DWORD part(std::size_t size) {
    return static_cast<DWORD>(std::min(size, kLargestTransfer));
}

} // namespace

bool readAt(HANDLE file, std::uint64_t offset, char* out, std::size_t size, std::size_t& got) {
    got = 0;
    if (!seek(file, offset))
        return false;
    while (got < size) {
        const DWORD wanted = part(size - got);
        DWORD count = 0;
        if (!ReadFile(file, out + got, wanted, &count, nullptr))
            return false;
        got += count;
        if (count < wanted)
            break;
    }
    return true;
}

bool writeAt(HANDLE file, std::uint64_t offset, std::string_view bytes) {
    if (!seek(file, offset))
        return false;
    while (!bytes.empty()) {
        DWORD written = 0;
        if (!WriteFile(file, bytes.data(), part(bytes.size()), &written, nullptr) || written == 0)
            return false;
        bytes.remove_prefix(written);
    }
    return true;
}

bool appendTo(HANDLE file, std::string_view bytes) {
    OVERLAPPED end{};
    end.Offset = end.OffsetHigh = 0xFFFFFFFF;
    DWORD written = 0;
    return WriteFile(file, bytes.data(), part(bytes.size()), &written, &end) && written == bytes.size();
}

bool setFileSize(HANDLE file, std::uint64_t size) {
    FILE_END_OF_FILE_INFO end{};
    end.EndOfFile.QuadPart = static_cast<LONGLONG>(size);
    return SetFileInformationByHandle(file, FileEndOfFileInfo, &end, sizeof end) != FALSE;
}

} // namespace win32
