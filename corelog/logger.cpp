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

struct Settings {
    sys::Mutex mutex; ///< Guards the other members.
    std::string name;
    std::wstring folder; ///< Empty until it is found.
};

Settings& settings() {
    static Settings instance;
    return instance;
}

/// The folder of the logs, empty if it cannot be found, and the name in it.
struct Place {
    std::wstring folder, name;
};

Place place() {
    Settings& known = settings();
    const std::lock_guard guard(known.mutex);
    // Cached: SHGetKnownFolderPath takes longer than writing a line. No report: the log to receive it does
    // not exist yet.
    if (known.folder.empty())
        known.folder = win32::logsFolder({});
    return {known.folder, text::utf8ToUtf16(known.name)};
}

std::int32_t readThreshold(const std::wstring& path) {
    fs::CConfig config(path);
    config.load(); // without the file, the default applies
    const std::string level = config.getValue("Level", {});
    char* end = nullptr;
    const long number = std::strtol(level.c_str(), &end, 10);
    return end != level.c_str() ? number : kDefaultLevel;
}

class CLogger final : public ILogger {
public:
    explicit CLogger(const std::wstring& pathWithoutExtension)
        : file_(pathWithoutExtension + L".log"), threshold_(readThreshold(pathWithoutExtension + L".cfg")) {}

    void release() override { delete this; }
    std::int32_t threshold() const override { return threshold_; }
    void write(std::string_view line) override { file_.append(line); }

private:
    LogFile file_;
    std::int32_t threshold_;
};

} // namespace

void setSettingsName(std::string_view name) {
    const std::lock_guard guard(settings().mutex);
    settings().name = name;
}

int createLogger(LoggerSlot& slot) noexcept {
    slot.reset();
    try {
        auto [folder, name] = place();
        if (folder.empty())
            folder = L".";
        else if (!CreateDirectoryW(folder.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS)
            return static_cast<int>(GetLastError());
        slot.reset(new CLogger(win32::joinPath(folder, name)));
        return 0;
    } catch (...) {
        return ERROR_OUTOFMEMORY;
    }
}

} // namespace CoreLog
