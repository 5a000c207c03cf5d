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
/// Keys and values are plain bytes, UTF-8 by convention. The file is shared between processes only through
/// `save`, which reads it again and applies only the keys that this instance changed, under an advisory lock.
///
/// Safe to share between threads. Failures of the file are told by status numbers, never thrown. There is no
/// virtual destructor: an instance lives and dies by its static type.
class CConfig {
public:
    CConfig() = default;
    explicit CConfig(const std::wstring& path) : filePath(path) {}
    CConfig(const CConfig&) = delete;
    CConfig& operator=(const CConfig&) = delete;

    /// \brief Turns to another file and forgets all values and changes. Reads nothing.
    virtual void setFilePath(const std::wstring& path);

    /// \brief Applies the changed keys to what the file holds now and writes it.
    ///
    /// Without changes the disk is not touched. A file that can be opened but not read counts as empty, so
    /// its other keys are lost. If the file cannot be opened or written, it stays as it was, and the changes
    /// are kept for a later `save`. Waits up to 2 s for another process that saves the same file.
    /// \return 0, 100002 without a path, 100004 if the file cannot be opened or written.
    virtual int save();

    /// \brief Like `save()`.
    /// \param[out] wasRead True if the file existed and was read.
    int save(bool& wasRead);

    /// \brief Reads the file; values that are already in memory win over the file's. Forgets which keys were
    /// changed.
    /// \return 0, 100002 when there is no file, 100004 when it cannot be read (nothing is changed then).
    virtual int load();

    /// \brief As `load`, but what was in memory is dropped.
    virtual int reload();

    /// \brief The value of a key, also when it is empty; \p defaultValue when the key is absent.
    std::string getValue(const std::string& key, std::string defaultValue) const;

    /// \brief The value of a key, be it empty or not; nothing when the key is absent.
    std::optional<std::string> findValue(const std::string& key) const;

    /// \brief Sets a value in memory. An empty value removes the key from the file at the next `save`.
    void setValue(const std::string& key, const std::string& value);

    /// \brief Whether a value was set since the last `load`, `reload` or successful `save`.
    bool isModified() const;

protected:
    std::wstring pathCopy() const;

    ConfigValues values;
    std::set<std::string> changedKeys;
    mutable sys::Mutex lock; ///< Guards all of these.
    bool modified = false;
    std::wstring filePath;

private:
    int read(bool dropMemory);
};

/// \brief Reads one value of a file, and keeps nothing of the rest.
/// \param[out] value Nothing when the key is not in the file.
/// \return As `CConfig::load`.
int readValue(const std::wstring& path, std::string_view key, std::optional<std::string>& value);

} // namespace fs
