#include "fs/fx_config.h"

#include "fs/cipher.h"
#include "fs/file_io.h"
#include "sys/data_buff.h"

#include <utility>

namespace fs {

int FxConfig::save() {
    const std::lock_guard guard(lock);
    if (filePath.empty())
        return kStatusNoFile;
    sys::DataBuff buffer(serialiseConfig(values));
    encipher(buffer.data(), buffer.size());
    const int status = writeFile(filePath, std::move(buffer).text());
    if (status == 0) {
        modified = false;
        changedKeys.clear();
    }
    return status;
}

int FxConfig::load() {
    const std::wstring path = pathCopy();
    if (!fileExists(path))
        return kStatusNoFile;
    std::string contents;
    if (const int status = readFile(path, contents))
        return status;
    sys::DataBuff buffer(std::move(contents));
    decipher(buffer.data(), buffer.size());

    const std::lock_guard guard(lock);
    parseConfig(std::move(buffer).text(), values);
    modified = false;
    return 0;
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

void FxConfig::loadWithDefaults() {
    if (defaultsPending)
        return;
    load(); // a file that is missing or cannot be read holds no switch
    const std::lock_guard guard(lock);
    for (const auto& [name, isOn] : defaults) {
        if (!values.try_emplace(name, isOn ? "1" : "0").second)
            continue;
        changedKeys.insert(name);
        modified = true;
    }
}

} // namespace fs
