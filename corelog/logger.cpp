#include "corelog/logger.h"

#include "corelog/log_file.h"
#include "fs/config.h"
#include "sys/mutex.h"
#include "text/utf16.h"
#include "win32/known_folders.h"
#include "win32/path.h"

#include <cstdlib>
#include <mutex>

namespace CoreLog {
namespace {

constexpr std::int32_t kDefaultLevel = 3;
constexpr ULONGLONG kThresholdLifetime = 1000; // milliseconds

struct Settings {
    sys::Mutex mutex; ///< Guards the other members.
    std::string name;
    std::wstring folder; ///< Empty until it is found.
    std::int32_t threshold = kDefaultLevel;
    ULONGLONG thresholdExpiry = 0; ///< GetTickCount64.
};

Settings& settings() {
    static Settings instance;
    return instance;
}

std::int32_t readThreshold(const std::wstring& path) {
    fs::CConfig config(path);
    config.load(); // without the file, the default applies
    const std::string level = config.getValue("Level", {});
    char* end = nullptr;
    const long number = std::strtol(level.c_str(), &end, 10);
    return end != level.c_str() ? number : kDefaultLevel;
}

/// Log file and threshold of the next logger.
struct Place {
    std::wstring folder; ///< Empty if it cannot be found: the log is then in the current directory.
    std::wstring pathWithoutExtension;
    std::int32_t threshold;
};

Place place() {
    Settings& known = settings();
    const std::lock_guard guard(known.mutex);
    // Cached: SHGetKnownFolderPath takes longer than writing a line. Passes no report: a failure could only
    // be reported to this log, which has no folder yet.
    if (known.folder.empty())
        known.folder = win32::logsFolder({});
    const std::wstring path =
        win32::joinPath(known.folder.empty() ? L"." : known.folder, text::utf8ToUtf16(known.name));
    // Reading the settings for each logger would take a tenth of the time of an event.
    if (const ULONGLONG now = GetTickCount64(); now >= known.thresholdExpiry) {
        known.threshold = readThreshold(path + L".cfg");
        known.thresholdExpiry = now + kThresholdLifetime;
    }
    return {known.folder, path, known.threshold};
}

class CLogger final : public ILogger {
public:
    explicit CLogger(const Place& place)
        : file_(place.pathWithoutExtension + L".log"), threshold_(place.threshold) {}

    void release() override { delete this; }
    std::int32_t threshold() const override { return threshold_; }
    void write(std::string_view line) override { file_.append(line); }

private:
    LogFile file_;
    std::int32_t threshold_;
};

} // namespace

void setSettingsName(std::string_view name) {
    Settings& known = settings();
    const std::lock_guard guard(known.mutex);
    known.name = name;
    known.thresholdExpiry = 0;
}

int createLogger(LoggerSlot& slot) noexcept {
    slot.reset();
    try {
        const Place found = place();
        if (!found.folder.empty() && !CreateDirectoryW(found.folder.c_str(), nullptr) &&
            GetLastError() != ERROR_ALREADY_EXISTS)
            return static_cast<int>(GetLastError());
        slot.reset(new CLogger(found));
        return 0;
    } catch (...) {
        return ERROR_OUTOFMEMORY;
    }
}

} // namespace CoreLog
