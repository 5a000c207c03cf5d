#include "zelsyshelper.h"

#include "fs/file_io.h"
#include "fs/fx_config.h"
#include "modules/zelsyshelper/src/export_frame.h"
#include "sys/mutex.h"
#include "ui/common/stat/app_data_path.h"
#include "win32/path.h"

#include <mutex>

namespace {

/// Held for the whole access to a file: all switch files share one store, and interleaved calls would write a
/// switch into the wrong file.
sys::Mutex switchMutex;

fs::FxConfig& switchStore() {
    static fs::FxConfig instance;
    return instance;
}

/// Returns the path of a switch file; empty for an empty name.
std::wstring switchFilePath(const std::wstring& name) {
    if (name.empty())
        return {};
    return win32::joinPath(stats::applicationDataPath(stats::DataPathKind::settings, stats::kWholeSuite),
                           name + L".fx");
}

} // namespace

void enableFx(const wchar_t* file, const char* switchName, uint8_t value) {
    frame::run(0, [=] {
        const std::wstring path = switchFilePath(frame::owned(file));
        const std::string name = frame::owned(switchName);
        const bool isOn = value != 0;

        const std::lock_guard guard(switchMutex);
        fs::FxConfig& store = switchStore();
        store.setDefaults({{name, isOn}});
        store.setFilePath(path);
        store.loadWithDefaults();
        store.setSwitch(name, isOn);
        store.save();
        return 0;
    });
}

void clearFx(const wchar_t* file) {
    frame::run(0, [=] {
        const std::wstring path = switchFilePath(frame::owned(file));
        const std::lock_guard guard(switchMutex);
        fs::emptyFile(path);
        return 0;
    });
}
