#include "ui/common/stat/app_data_path.h"

#include "corelog/log_message.h"
#include "text/utf16.h"
#include "win32/known_folders.h"
#include "win32/path.h"

#include <windows.h>

namespace stats {
namespace {

void logProblem(const std::string& problem) {
    CoreLog::LoggerSlot logger;
    if (CoreLog::createLogger(logger) == 0)
        CoreLog::CLogMsgMultibyte(logger.get(), 3, "AppDataPath", __FILE__, __LINE__) << problem;
}

std::wstring findFolder(DataPathKind kind, ApplicationId application) {
    switch (kind) {
    case DataPathKind::local: {
        const std::wstring folder = win32::knownFolder(win32::KnownFolder::localAppData, logProblem);
        return folder.empty() ? folder
                              : win32::joinPath(folder, text::utf8ToUtf16(displayName(application, true)));
    }
    case DataPathKind::settings: {
        std::wstring folder = win32::settingsFolder(logProblem);
        const std::wstring key = text::utf8ToUtf16(folderKey(application));
        if (!folder.empty() && !key.empty()) {
            folder = win32::joinPath(folder, key);
            CreateDirectoryW(folder.c_str(), nullptr); // ERROR_ALREADY_EXISTS after the first call
        }
        return folder;
    }
    case DataPathKind::logs:
        return win32::logsFolder(logProblem);
    }
    return {};
}

} // namespace

std::wstring applicationDataPath(DataPathKind kind, ApplicationId application) {
    const std::wstring folder = findFolder(kind, application);
    return folder.empty() ? L"." : folder;
}

} // namespace stats
