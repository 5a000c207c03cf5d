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

/// Returns the path of the last file.
std::wstring makeFolder(const std::wstring& folder, std::size_t files) {
    CreateDirectoryW(folder.c_str(), nullptr);
    std::wstring path;
    for (std::size_t i = 0; i < files; ++i) {
        path = folder + L"\\file" + std::to_wstring(i) + L".dat";
        bench::require(bench::writeWhole(path, std::string(kFileSize, 'x')), "the tree cannot be created");
    }
    return path;
}

std::wstring makeTree(const std::wstring& root, std::size_t folders, std::size_t filesEach) {
    CreateDirectoryW(root.c_str(), nullptr);
    std::wstring last;
    for (std::size_t i = 0; i < folders; ++i)
        last = makeFolder(root + L"\\folder" + std::to_wstring(i), filesEach);
    return last;
}

std::wstring makeNested(const std::wstring& root, std::size_t depth) {
    CreateDirectoryW(root.c_str(), nullptr);
    std::wstring folder = root, last;
    for (std::size_t i = 0; i < depth; ++i)
        last = makeFolder(folder += L"\\d", 1);
    return last;
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

/// \param last A file of the source. A contender that does not copy it fails.
bench::Path copying(const std::string& name, const std::wstring& source, const std::wstring& last) {
    const std::wstring destination = source + L"-copy";
    const auto empty = [=] {
        std::filesystem::remove_all(destination);
        std::filesystem::create_directory(destination);
    };
    const auto contender = [=](const char* copier, const auto& copy) {
        const std::wstring copied = destination + last.substr(source.size());
        return bench::Contender{
            copier,
            [=] { return copy(source, destination) && std::filesystem::file_size(copied) == kFileSize; },
            empty};
    };
    return {
        .name = name,
        .ours = contender("copyDirEx",
                          [](const std::wstring& from, const std::wstring& to) {
                              return copyDirEx(from.c_str(), to.c_str()) == 0;
                          }),
        .limit = contender("FindFirstFileW and CopyFileW", copyByHand),
        .alternatives = {contender("SHFileOperationW", copyByShell), contender("robocopy", copyByRobocopy)},
        .goal = {.mostToLimit = 1.05},
        .seconds = 12};
}

} // namespace

void benchTree() {
    const std::wstring source = bench::setting(L"BENCH_FOLDER") + L"\\tree";
    const std::wstring last = makeTree(source, kFolders, kFilesEach);
    bench::measure(copying("copy a tree of 2,000 files", source, last));
}

void growTree() {
    const std::wstring folder = bench::setting(L"BENCH_FOLDER");
    for (std::size_t files = 10; files <= 10'000; files *= 10) {
        const std::wstring source = folder + L"\\tree" + std::to_wstring(files);
        const std::wstring last = makeTree(source, 10, files / 10);
        bench::measureGrowth(copying("copy a tree, by number of files", source, last), files);
    }
    for (std::size_t depth = 1; depth <= 64; depth *= 2) {
        const std::wstring source = folder + L"\\deep" + std::to_wstring(depth);
        const std::wstring last = makeNested(source, depth);
        bench::measureGrowth(copying("copy folders inside each other, by depth", source, last), depth);
    }
}
