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
BOOL WINAPI onControl(DWORD event) {
    {
        const std::lock_guard guard(mutex);
        isInterrupted = true;
        if (!isPolled) {
            fail(L"Interrupted");
            if (cleanUpNow)
                cleanUpNow();
            ExitProcess(static_cast<UINT>(finish(kInterrupted)));
        }
    }
    // Returning from the other events (close, log-off, shutdown) terminates the process at once. The polling
    // thread has a few seconds to end it properly.
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        Sleep(INFINITE);
    return TRUE;
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
