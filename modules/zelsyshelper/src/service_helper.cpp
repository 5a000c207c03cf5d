#include "zelsyshelper.h"

#include "modules/zelsyshelper/src/export_frame.h"
#include "service/service_control.h"

#include <windows.h>

namespace {

/// Runs a function whose result is 0, a code or a Windows error number.
template <class Work>
int64_t runCode(Work work) {
    return static_cast<int64_t>(frame::run(std::int32_t{ERROR_NOT_ENOUGH_MEMORY}, work));
}

} // namespace

int64_t installService(const wchar_t* path) {
    return runCode([=] { return service::install(frame::owned(path)); });
}

uint64_t isServiceInstalled(uint8_t* installed) {
    if (installed != nullptr)
        *installed = 0;
    return frame::run(0, [=] {
        if (installed != nullptr)
            *installed = service::isPresent(service::serviceName);
        return 0;
    });
}

uint64_t isServicePresent(const wchar_t* name) {
    return frame::run(false, [=] { return service::isPresent(frame::owned(name)); });
}

int64_t startService(void) {
    return runCode(service::start);
}

int64_t stopService(void) {
    return runCode([] { return service::stop(service::serviceName); });
}

int64_t stopSystemService(const wchar_t* name) {
    return runCode([=] { return service::stop(frame::owned(name)); });
}

int64_t uninstallService(void) {
    return runCode(service::uninstall);
}

int64_t updateService(void) {
    return runCode(service::update);
}
