#include "fs/config.h"

#include "fs/file_io.h"

#include <utility>

namespace fs {
void CConfig::setFilePath(const std::wstring& path) {
    const std::lock_guard guard(lock);
    selectFile(path);
}

void CConfig::selectFile(const std::wstring& path) {
    values.clear();
    changedKeys.clear();
    if (&path != &filePath)
        filePath = path;
}

int CConfig::save() {
    bool wasRead = false;
    return save(wasRead);
}

int CConfig::save(bool& wasRead) {
    const std::lock_guard guard(lock);
    wasRead = false;
    if (filePath.empty())
        return kStatusNoFile;
    if (changedKeys.empty()) {
        modified = false;
        return 0;
    }

    // Merges into a separate map, so that std::bad_alloc here loses no change.
    ConfigValues merged;
    std::string contents;
    SharedFile file(filePath);
    wasRead = file.read(FileForm::plain, contents);
    parseConfig(contents, merged);
    for (const auto& key : changedKeys) {
        if (const auto changed = values.find(key); changed != values.end())
            merged.insert_or_assign(key, changed->second);
        else
            merged.erase(key);
    }
    values = std::move(merged);

    const int status = file.replace(serialiseConfig(values), contents, FileForm::plain);
    if (status == 0) {
        modified = false;
        changedKeys.clear();
    }
    return status;
}

int CConfig::load() {
    return read(false);
}

int CConfig::reload() {
    return read(true);
}

int CConfig::read(bool dropMemory) {
    std::string contents;
    if (const int status = readFile(pathCopy(), FileForm::plain, contents))
        return status;

    const std::lock_guard guard(lock);
    if (dropMemory)
        values.clear();
    parseConfig(contents, values);
    changedKeys.clear();
    modified = false;
    return 0;
}

std::string CConfig::getValue(const std::string& key, std::string defaultValue) const {
    return findValue(key).value_or(std::move(defaultValue));
}

std::optional<std::string> CConfig::findValue(const std::string& key) const {
    const std::lock_guard guard(lock);
    const auto entry = values.find(key);
    return entry != values.end() ? std::optional(entry->second) : std::nullopt;
}

void CConfig::setValue(const std::string& key, const std::string& value) {
    const std::lock_guard guard(lock);
    values.insert_or_assign(key, value);
    changedKeys.insert(key);
    modified = true;
}

bool CConfig::isModified() const {
    const std::lock_guard guard(lock);
    return modified;
}

std::wstring CConfig::pathCopy() const {
    const std::lock_guard guard(lock);
    return filePath;
}

int readValue(const std::wstring& path, std::string_view key, std::optional<std::string>& value) {
    ConfigSearch search(key);
    if (const int status = readPieces(path, [&](std::string_view piece) { search.take(piece); }))
        return status;
    value = search.finish();
    return 0;
}

} // namespace fs
