// Copying a tree of small files.

#include "bench/benchmarks.h"
#include "bench/harness.h"
#include "bench/windows_file.h"
#include "win32/owner.h"
#include "zelsyshelper.h"

#include <filesystem>
#include <string_view>

#include <windows.h>

#include <shellapi.h>

namespace {

constexpr int kFolders = 20, kFilesEach = 100, kFileSize = 1000;

void makeTree(const std::wstring& root) {
    CreateDirectoryW(root.c_str(), nullptr);
    for (int i = 0; i < kFolders; ++i) {
        const std::wstring folder = root + L"\\folder" + std::to_wstring(i);
        CreateDirectoryW(folder.c_str(), nullptr);
        for (int j = 0; j < kFilesEach; ++j)
            bench::require(bench::writeWhole(folder + L"\\file" + std::to_wstring(j) + L".dat",
                                             std::string(kFileSize, 'x')),
                           "the tree cannot be created");
    }
}

bool copyByHand(const std::wstring& source, const std::wstring& destination) {
    WIN32_FIND_DATAW entry;
    const win32::FindHandle find(FindFirstFileW((source + L"\\*").c_str(), &entry));
    if (!find)
        return false;
    bool isGood = true;
    do {
        const std::wstring_view name = entry.cFileName;
        const std::wstring from = source + L"\\" + entry.cFileName,
                           to = destination + L"\\" + entry.cFileName;
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            isGood = CopyFileW(from.c_str(), to.c_str(), TRUE) != FALSE;
        else if (name != L"." && name != L"..")
            isGood = CreateDirectoryW(to.c_str(), nullptr) != FALSE && copyByHand(from, to);
    } while (isGood && FindNextFileW(find.get(), &entry));
    return isGood;
}

bool copyByShell(const std::wstring& source, const std::wstring& destination) {
    const std::wstring from = source + L"\\*" + L'\0', to = destination + L'\0';
    SHFILEOPSTRUCTW operation{};
    operation.wFunc = FO_COPY;
    operation.pFrom = from.c_str();
    operation.pTo = to.c_str();
    operation.fFlags = FOF_NOCONFIRMATION | FOF_NOCONFIRMMKDIR | FOF_NOERRORUI | FOF_SILENT;
    return SHFileOperationW(&operation) == 0 && !operation.fAnyOperationsAborted;
}

bool copyByRobocopy(const std::wstring& source, const std::wstring& destination) {
    constexpr int kFirstFailure = 8; // smaller exit codes report success
    const int result = _wsystem((L"robocopy \"" + source + L"\" \"" + destination + L"\" /E >nul").c_str());
    return result >= 0 && result < kFirstFailure;
}

} // namespace

void benchTree() {
    const std::wstring source = bench::setting(L"BENCH_FOLDER") + L"\\tree";
    const std::wstring destination = bench::setting(L"BENCH_FOLDER") + L"\\copy";
    makeTree(source);
    const auto empty = [&] {
        std::filesystem::remove_all(destination);
        std::filesystem::create_directory(destination);
    };
    const auto isComplete = [&] {
        return std::filesystem::file_size(destination + L"\\folder19\\file99.dat") == kFileSize;
    };
    bench::measure(
        {.name = "copy a tree of 2,000 files",
         .ours = {"copyDirEx",
                  [&] { return copyDirEx(source.c_str(), destination.c_str()) == 0 && isComplete(); }, empty},
         .limit = bench::Contender{"FindFirstFileW and CopyFileW",
                                   [&] { return copyByHand(source, destination) && isComplete(); }, empty},
         .alternatives = {{"SHFileOperationW",
                           [&] { return copyByShell(source, destination) && isComplete(); }, empty},
                          {"robocopy", [&] { return copyByRobocopy(source, destination) && isComplete(); },
                           empty}},
         .goal = {.mostToLimit = 1.05},
         .seconds = 12});
}
