#include "fs/fx_config.h"

#include "fs/cipher.h"
#include "fs/file_io.h"
#include "sys/data_buff.h"

#include <utility>

namespace fs {
namespace {

void parseEnciphered(std::string contents, ConfigValues& values) {
    sys::DataBuff buffer(std::move(contents));
    decipher(buffer.data(), buffer.size());
    parseConfig(std::move(buffer).text(), values);
}

} // namespace

void FxConfig::setFilePath(const std::wstring& path) {
    const std::lock_guard guard(lock);
    selectFile(path);
    isUnread = false;
}

int FxConfig::save() {
    const std::lock_guard guard(lock);
    if (filePath.empty())
        return kStatusNoFile;
    std::string old;
    SharedFile file(filePath);
    file.read(FileForm::enciphered, old);
    if (isUnread && !old.empty())
        parseEnciphered(old, values);
    sys::DataBuff buffer(serialiseConfig(values));
    encipher(buffer.data(), buffer.size());
    const int status = file.replace(std::move(buffer).text(), old, FileForm::enciphered);
    if (status == 0) {
        modified = false;
        changedKeys.clear();
        isUnread = false;
    }
    return status;
}

int FxConfig::load() {
    return loadAndAdd(false);
}

void FxConfig::loadWithDefaults() {
    if (!defaultsPending)
        loadAndAdd(true); // the defaults apply without a readable file too
}

int FxConfig::loadAndAdd(bool addsDefaults) {
    std::string contents;
    const int status = readFile(pathCopy(), FileForm::enciphered, contents);
    const std::lock_guard guard(lock);
    isUnread = status != kStatusNoFile; // also if parsing throws: a save must not lose the file's switches
    if (status == 0) {
        parseEnciphered(std::move(contents), values);
        isUnread = false;
        modified = false;
    }
    if (!addsDefaults)
        return status;
    for (const auto& [name, isOn] : defaults)
        if (values.try_emplace(name, isOn ? "1" : "0").second) {
            changedKeys.insert(name);
            modified = true;
        }
    return status;
}

void FxConfig::setDefaults(Defaults switches) {
    const std::lock_guard guard(lock);
    defaults = std::move(switches);
    if (!defaultsPending)
        return;
    values.clear();
    changedKeys.clear();
    modified = true;
    defaultsPending = false;
}

} // namespace fs
