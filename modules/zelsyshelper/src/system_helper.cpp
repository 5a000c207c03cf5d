#include "zelsyshelper.h"

#include "modules/zelsyshelper/src/export_frame.h"
#include "text/utf16.h"
#include "win32/os_version.h"
#include "win32/process.h"

namespace {

constexpr wchar_t kWindows10[] = L"10.0.0";
constexpr wchar_t kWindows11[] = L"11.0.0";

} // namespace

uint64_t getOsVersion(wchar_t* text) {
    return frame::run(false, [=] {
        const std::int32_t versionClass = win32::versionClass(win32::osVersion());
        const bool is11 = versionClass == win32::kClassWindows11;
        if (!is11 && versionClass != win32::kClassWindows10 && versionClass != win32::kClassWindows10Updated)
            return false;
        if (text != nullptr)
            std::ranges::copy(is11 ? kWindows11 : kWindows10, text);
        return true;
    });
}

uint64_t isModuleLoaded(const char* name) {
    return frame::run(false, [=] { return win32::isModuleRunning(text::utf8ToUtf16(frame::owned(name))); });
}
