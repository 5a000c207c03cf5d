#include "interrupt.h"

#include "console.h"
#include "errors.h"
#include "sys/mutex.h"

#include <atomic>
#include <mutex>
#include <utility>

#include <windows.h>

namespace host {
namespace {

sys::Mutex mutex; // guards `cleanUpNow` and `isPolled`
std::function<void()> cleanUpNow;
bool isPolled = false;
std::atomic<bool> isInterrupted = false;

/// Windows calls this on a thread of its own.
BOOL WINAPI onControl(DWORD) {
    const std::lock_guard guard(mutex);
    isInterrupted = true;
    if (isPolled)
        return TRUE;
    fail(L"Interrupted");
    if (cleanUpNow)
        cleanUpNow();
    ExitProcess(static_cast<UINT>(finish(kInterrupted)));
}

} // namespace

void installInterruptHandler() {
    SetConsoleCtrlHandler(onControl, TRUE);
}

InterruptCleanUp::InterruptCleanUp(std::function<void()> cleanUp) {
    const std::lock_guard guard(mutex);
    cleanUpNow = std::move(cleanUp);
}

InterruptCleanUp::~InterruptCleanUp() {
    const std::lock_guard guard(mutex);
    cleanUpNow = nullptr;
}

PolledInterrupt::PolledInterrupt() {
    const std::lock_guard guard(mutex);
    isPolled = true;
}

PolledInterrupt::~PolledInterrupt() {
    const std::lock_guard guard(mutex);
    isPolled = false;
}

bool PolledInterrupt::isSet() const {
    return isInterrupted;
}

} // namespace host
