#include "corelog/logger.h"

#include "corelog/log_file.h"
#include "fs/config.h"
#include "sys/mutex.h"
#include "text/utf16.h"
#include "win32/known_folders.h"

#include <cstdlib>
#include <mutex>

namespace CoreLog {
namespace {

constexpr std::int32_t kDefaultLevel = 3;

struct Settings {
    sys::Mutex mutex;
    std::string name;
};

Settings& settings() {
    static Settings instance;
    return instance;
}

std::wstring settingsName() {
    const std::lock_guard guard(settings().mutex);
    return text::utf8ToUtf16(settings().name);
}

class CLogger final : public ILogger {
public:
    void release() override { delete this; }
    std::int32_t threshold() const override { return threshold_; }
    void write(std::string_view line) override { file_.append(line); }

    unsigned long open(const std::wstring& pathWithoutExtension) {
        const unsigned long error = file_.open(pathWithoutExtension + L".log");
        if (error == 0) {
            fs::CConfig config(pathWithoutExtension + L".cfg");
            config.load(); // without a file the default holds
            const std::string level = config.getValue("Level", {});
            char* end = nullptr;
            const long number = std::strtol(level.c_str(), &end, 10);
            if (end != level.c_str())
                threshold_ = number;
        }
        return error;
    }

private:
    LogFile file_;
    std::int32_t threshold_ = kDefaultLevel;
};

} // namespace

void setSettingsName(std::string_view name) {
    const std::lock_guard guard(settings().mutex);
    settings().name = name;
}

int createLogger(LoggerSlot& slot) noexcept {
    slot.reset();
    try {
        // A problem with the folder has no log to go to yet; the current directory serves then.
        std::wstring folder = win32::logsFolder({});
        if (folder.empty())
            folder = L".";
        else
            CreateDirectoryW(folder.c_str(), nullptr);
        auto logger = std::make_unique<CLogger>();
        if (const unsigned long error = logger->open(win32::joinPath(folder, settingsName())))
            return static_cast<int>(error);
        slot.reset(logger.release());
        return 0;
    } catch (...) {
        return ERROR_OUTOFMEMORY;
    }
}

} // namespace CoreLog
