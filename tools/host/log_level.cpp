#include "log_level.h"

#include "fs/config_format.h"
#include "fs/file_io.h"
#include "win32/owner.h"

#include <cstdlib>
#include <mutex>

namespace host {
namespace {

constexpr char kKey[] = "Level";

std::string levelIn(const std::string& contents) {
    fs::ConfigValues values;
    fs::parseConfig(contents, values);
    return values[kKey];
}

/// Without a share mode no other program can have the file open and add to it.
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
    if (!file.read(fs::FileForm::plain, original_) && existed_)
        return false;
    if (std::atoi(levelIn(original_).c_str()) >= kOutcomeLevel)
        return true;
    // The first line of a key counts, so that the line of the user can stay.
    raised_ = kKey + ("=" + std::to_string(kOutcomeLevel)) + "\n" + original_;
    isRaised_ = file.replace(raised_, original_, fs::FileForm::plain) == 0;
    return isRaised_;
}

bool RaisedLogLevel::restore() {
    const std::lock_guard guard(mutex_);
    isOver_ = true;
    if (!isRaised_)
        return true;
    if (!writeRestored())
        return false;
    isRaised_ = false;
    if (!existed_)
        deleteEmptyFile(path_);
    return true;
}

bool RaisedLogLevel::writeRestored() {
    fs::SharedFile file(path_);
    std::string now, restored = original_;
    if (!file.read(fs::FileForm::plain, now))
        return false;
    if (now != raised_) { // another program has saved the file
        fs::ConfigValues values;
        fs::parseConfig(now, values);
        if (values[kKey] != std::to_string(kOutcomeLevel))
            return true;
        values[kKey] = levelIn(original_); // an empty value is not written
        restored = fs::serialiseConfig(values);
    }
    return file.replace(restored, now, fs::FileForm::plain) == 0;
}

} // namespace host
