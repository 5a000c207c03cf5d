#include "zelsyshelper.h"

#include "ipc/bring_to_front.h"
#include "modules/zelsyshelper/src/export_frame.h"

int64_t bringRuningAppToTop(const char* appName) {
    return static_cast<int64_t>(
        frame::run(std::int32_t{0}, [=] { return ipc::bringRunningToFront(frame::owned(appName)) ? 1 : 0; }));
}
