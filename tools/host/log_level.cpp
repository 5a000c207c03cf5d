#include "log_level.h"

#include "fs/file_io.h"
#include "win32/owner.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <string_view>

namespace host {
namespace {

constexpr std::string_view kKey = "Level=";
const std::string kRaisedLine = std::string(kKey) + std::to_string(kOutcomeLevel) + "\n";

/// Returns the first line with the key, which sets the level, with its line feed; empty if there is none.
std::string_view levelLine(std::string_view contents) {
    while (!contents.empty()) {
        const std::string_view line =
            contents.substr(0, std::min(contents.find('\n'), contents.size() - 1) + 1);
        if (line.starts_with(kKey))
            return line;
        contents.remove_prefix(line.size());
    }
    return {};
}

std::string levelIn(std::string_view contents) {
    const std::string_view line = levelLine(contents);
    const std::string_view value = line.substr(std::min(kKey.size(), line.size()));
    return std::string(value.substr(0, value.find_last_not_of("\r\n") + 1));
}

/// Returns the level without the lines that other processes have added to raise it.
std::string levelBelowRaised(std::string_view contents) {
    while (contents.starts_with(kRaisedLine) && !levelLine(contents.substr(kRaisedLine.size())).empty())
        contents.remove_prefix(kRaisedLine.size());
    return levelIn(contents);
}

/// Deletes the file if it is empty. CreateFileW without sharing fails with ERROR_SHARING_VIOLATION while
/// another process has the file open, so what that process writes is not lost.
void deleteEmptyFile(const std::wstring& path) {
    const win32::KernelHandle file(
        CreateFileW(path.c_str(), GENERIC_READ | DELETE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    LARGE_INTEGER size{};
    FILE_DISPOSITION_INFO disposition{TRUE};
    if (file && GetFileSizeEx(file.get(), &size) && size.QuadPart == 0)
        SetFileInformationByHandle(file.get(), FileDispositionInfo, &disposition, sizeof disposition);
}

} // namespace

bool RaisedLogLevel::raise() {
    const std::lock_guard guard(mutex_);
    if (isOver_)
        return false;
    existed_ = GetFileAttributesW(path_.c_str()) != INVALID_FILE_ATTRIBUTES;
    const bool isDone = writeRaised();
    if (!isDone && !existed_)
        deleteEmptyFile(path_);
    return isDone;
}

bool RaisedLogLevel::writeRaised() {
    fs::SharedFile file(path_);
    std::string original;
    if (!file.read(fs::FileForm::plain, original) && existed_)
        return false;
    level_ = levelBelowRaised(original);
    wasEmpty_ = original.empty();
    if (std::atoi(level_.c_str()) > kOutcomeLevel)
        return true;
    // The first line of a key counts, so the user's line can stay. A level that equals kOutcomeLevel also
    // gets a line: another process may have raised it and can restore it before the event.
    const std::string raised = kRaisedLine + original;
    isRaised_ = file.replace(raised, original, fs::FileForm::plain) == 0;
    return isRaised_;
}

bool RaisedLogLevel::restore() {
    const std::lock_guard guard(mutex_);
    isOver_ = true;
    if (!isRaised_)
        return true;
    const bool isDeleted = GetFileAttributesW(path_.c_str()) == INVALID_FILE_ATTRIBUTES &&
                           GetLastError() == ERROR_FILE_NOT_FOUND;
    if (!isDeleted && !writeRestored())
        return false;
    isRaised_ = false;
    // A file that existed and was empty before `raise` is the user's and stays. A file that was not empty may
    // come from another process that raises the level. The last such process deletes the file.
    if (!existed_ || !wasEmpty_)
        deleteEmptyFile(path_);
    return true;
}

bool RaisedLogLevel::writeRestored() {
    fs::SharedFile file(path_);
    std::string now;
    if (!file.read(fs::FileForm::plain, now))
        return false;
    const std::string_view line = levelLine(now);
    if (levelIn(now) != std::to_string(kOutcomeLevel))
        return true; // another program has set the level
    const auto begin = static_cast<std::size_t>(line.data() - now.data());
    std::string restored = now;
    restored.erase(begin, line.size());
    // setValueInPropertyFile() of another program keeps only the first line of each key.
    if (!level_.empty() && levelLine(restored).empty())
        restored.insert(begin, std::string(kKey) + level_ + "\n");
    return file.replace(restored, now, fs::FileForm::plain) == 0;
}

} // namespace host
