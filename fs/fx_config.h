#pragma once

#include "fs/config.h"

#include <map>
#include <string>

namespace fs {

/// \brief Stores keys and values in a file that is enciphered as a whole, so that users do not edit it by
/// hand. The value of an on/off switch is "1" or "0".
///
/// `save` writes the values in memory. It merges the file only if the last `load` could not read it. If two
/// processes change one file at the same time, the later `save` overwrites the change of the other. Do not
/// call the inherited `reload` and `save(bool&)`: they read and write plain text.
class FxConfig : public CConfig {
public:
    using Defaults = std::map<std::string, bool>;

    using CConfig::CConfig;

    void setFilePath(const std::wstring& path) override;

    /// \brief Enciphers the values and writes them, even if none changed. If the last `load` could not read
    /// the file and no `save` has succeeded since, reads it first and keeps its switches. They are lost if
    /// this read fails too but the write succeeds.
    /// \return 0; `kStatusNoFile` (100002) without a path; `kStatusFileFailed` (100004) if the file cannot be
    /// written.
    int save() override;

    /// \brief Reads and deciphers the file. Values already in memory take precedence over those of the file.
    /// Does not clear the set of changed keys.
    /// \return 0; `kStatusNoFile` (100002) if the file does not exist; `kStatusFileFailed` (100004) if it
    /// cannot be read.
    int load() override;

    /// \brief Replaces the defaults. If `defaultsPending` is true, also discards all values in memory, sets
    /// `defaultsPending` to false, and makes `isModified` return true.
    void setDefaults(Defaults switches);

    /// \brief Loads the file, then sets each default switch that has no value. Does nothing while
    /// `defaultsPending` is true.
    void loadWithDefaults();

    void setSwitch(const std::string& name, bool isOn) { setValue(name, isOn ? "1" : "0"); }

    /// While true, `loadWithDefaults` does nothing, and the next `setDefaults` discards all values in memory.
    /// Set it before other threads use the store.
    bool defaultsPending = false;

private:
    int loadAndAdd(bool addsDefaults);

    Defaults defaults;
    bool isUnread = false; ///< The last `load` could not read the file, and no `save` has succeeded since.
};

} // namespace fs
