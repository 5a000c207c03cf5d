#pragma once

#include "fs/config.h"

#include <map>
#include <string>

namespace fs {

/// \brief A configuration file that is enciphered as a whole, so that users do not edit it by hand: the store
/// of named on/off switches, "1" and "0".
///
/// Always written whole from memory, without a merge: of two processes that change one file at the same
/// moment, one can undo the change of the other. Do not call `reload`: it is inherited and does not decipher.
class FxConfig : public CConfig {
public:
    using Defaults = std::map<std::string, bool>;

    using CConfig::CConfig;

    void setFilePath(const std::wstring& path) override;

    /// \brief Enciphers the values and writes them, even if none changed. If the last `load` could not read
    /// the file, reads it first and keeps its switches.
    /// \return 0, 100002 without a path, 100004 when the file cannot be written.
    int save() override;

    /// \brief Reads and deciphers the file; values that are already in memory win over the file's. The set of
    /// changed keys is left as it is.
    /// \return 0, 100002 when there is no file, another number when it cannot be read.
    int load() override;

    /// \brief Replaces the defaults. While `defaultsPending` is set, the store is emptied and the mark
    /// cleared.
    void setDefaults(Defaults switches);

    /// \brief Loads the file and sets each default switch that it does not hold. Does nothing while
    /// `defaultsPending` is set.
    void loadWithDefaults();

    void setSwitch(const std::string& name, bool isOn) { setValue(name, isOn ? "1" : "0"); }

    /// Skips the next `loadWithDefaults`; the next `setDefaults` empties the store. Set it before other
    /// threads use the store.
    bool defaultsPending = false;

private:
    Defaults defaults;
    bool isUnread = false; ///< The last `load` found a file and could not read it.
};

} // namespace fs
