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

constexpr DWORD kPatience = 3000; // milliseconds

sys::Mutex mutex; // guards `cleanUpNow` and `isPolled`
std::function<bool()> cleanUpNow;
bool isPolled = false;
std::atomic<bool> isInterrupted = false;

bool isPolledNow() {
    const std::lock_guard guard(mutex);
    return isPolled;
}

/// Ends the program on a console control event. The system calls it on a new thread of this process.
BOOL WINAPI onControl(DWORD) {
    isInterrupted = true;
    // After CTRL_CLOSE_EVENT, Windows terminates the process when the handler returns, and after 5 s in any
    // case. The handler waits, so that the polling thread can stop the download.
    const bool mustWait = isPolledNow();
    if (mustWait)
        Sleep(kPatience);
    claimEnd();
    const std::lock_guard guard(mutex);
    // Printing comes last: a console that closes can block it.
    if (!cleanUpNow || cleanUpNow())
        fail(mustWait ? L"Interrupted: the operation did not stop within 3 s" : L"Interrupted");
    ExitProcess(static_cast<UINT>(finish(kInterrupted)));
}

} // namespace

void installInterruptHandler() {
    SetConsoleCtrlHandler(onControl, TRUE);
}

InterruptCleanUp::InterruptCleanUp(std::function<bool()> cleanUp) {
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
