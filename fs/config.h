#pragma once

#include "fs/config_format.h"
#include "sys/mutex.h"

#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace fs {

inline constexpr int kStatusNoKey = 100000; ///< the key is not in the file

/// \brief A flat key/value configuration file: read whole, held in memory, written whole.
///
/// Keys and values are plain bytes, UTF-8 by convention. Processes share the file through `save`: under an
/// advisory lock, it rereads the file and applies only the keys that this instance changed.
///
/// Safe to share between threads. File errors are returned as status numbers, never thrown. The destructor is
/// not virtual: do not delete a derived object through a pointer to this class.
class CConfig {
public:
    CConfig() = default;
    explicit CConfig(const std::wstring& path) : filePath(path) {}
    CConfig(const CConfig&) = delete;
    CConfig& operator=(const CConfig&) = delete;

    /// \brief Selects another file and discards all values and changed keys. Does not read the file.
    virtual void setFilePath(const std::wstring& path);

    /// \brief Merges the changed keys into the current contents of the file and writes the result.
    ///
    /// Without changed keys, does not access the disk. A file that can be written but not read counts as
    /// empty, so its other keys are lost. If the file cannot be opened or written, the changes are kept for a
    /// later `save`, and a readable file keeps its contents. Waits up to 2 s for another process that saves
    /// the same file.
    /// \return 0; `kStatusNoFile` (100002) without a path; `kStatusFileFailed` (100004) if the file cannot be
    /// opened, written or, above 16 MiB, truncated.
    virtual int save();

    /// \brief Saves like \ref CConfig::save(), even if a derived class overrides it.
    /// \param[out] wasRead True if the file existed before the call and was read.
    int save(bool& wasRead);

    /// \brief Reads the file. Values already in memory take precedence over those of the file.
    ///
    /// Clears the set of changed keys. A failed call changes nothing.
    /// \return 0; `kStatusNoFile` (100002) if the file does not exist; `kStatusFileFailed` (100004) if it
    /// cannot be read.
    virtual int load();

    /// \brief Reads the file like `load`, but replaces the values in memory by those of the file.
    virtual int reload();

    /// \brief Returns the value of a key, or \p defaultValue if the key is absent. The value may be empty.
    std::string getValue(const std::string& key, std::string defaultValue) const;

    /// \brief Returns the value of a key, or `std::nullopt` if the key is absent. The value may be empty.
    std::optional<std::string> findValue(const std::string& key) const;

    /// \brief Sets a value in memory. An empty value removes the key from the file at the next `save`.
    void setValue(const std::string& key, const std::string& value);

    /// \brief Returns true if a value was set since the last successful `load`, `reload` or `save`.
    bool isModified() const;

protected:
    /// Does the work of `setFilePath`. The caller holds `lock`.
    void selectFile(const std::wstring& path);
    std::wstring pathCopy() const;

    ConfigValues values;
    std::set<std::string> changedKeys;
    mutable sys::Mutex lock; ///< Guards all other data members.
    bool modified = false;
    std::wstring filePath;

private:
    int read(bool dropMemory);
};

/// \brief Reads one value of a configuration file without holding the whole file in memory.
/// \param[out] value `std::nullopt` if the key is not in the file. Unchanged if the call fails.
/// \return As `CConfig::load`.
int readValue(const std::wstring& path, std::string_view key, std::optional<std::string>& value);

} // namespace fs
