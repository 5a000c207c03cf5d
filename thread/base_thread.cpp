#include "thread/base_thread.h"

#include "win32/event.h"

#include <process.h>

namespace thread {
namespace {

/// The UCRT's _beginthreadex keeps the module loaded until the thread function has returned; msvcrt's does
/// not.
#if defined(_MSC_VER) || defined(_UCRT)
constexpr bool kRuntimeKeepsModule = true;
#else
constexpr bool kRuntimeKeepsModule = false;
#endif

} // namespace

BaseThread::BaseThread(std::uint32_t id) : id_(id) {
}

BaseThread::~BaseThread() = default;

std::uint32_t BaseThread::Start() {
    if (function_ == nullptr)
        return ERROR_INVALID_PARAMETER;
    for (auto* event : {&started_, &finished_})
        if (!*event) // created on demand: the client end of a channel starts no thread
            *event = win32::makeEvent();
    if (!started_ || !finished_)
        return ERROR_BAD_ENVIRONMENT;
    if (isRunning())
        return ERROR_BUSY;
    wait(INFINITE); // The previous thread has signalled finished_ and is exiting: join it.
    thread_.reset();
    ResetEvent(started_.get());
    ResetEvent(finished_.get());

    // The thread holds a reference to the module: FreeLibrary must not unmap running code.
    HMODULE module = nullptr;
    if (!kRuntimeKeepsModule && !GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                                                    reinterpret_cast<const wchar_t*>(&entry), &module))
        return ERROR_BAD_ENVIRONMENT;
    module_.reset(module);
    unsigned threadId = 0;
    thread_.reset(reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, entry, this, 0, &threadId)));
    if (!thread_) {
        module_.reset();
        return ERROR_BAD_ENVIRONMENT; // callers expect this error for any failure of _beginthreadex
    }
    WaitForSingleObject(started_.get(), INFINITE);
    return 0;
}

bool BaseThread::wait(std::uint32_t time) const {
    return isOwnThread() || !thread_ || WaitForSingleObject(thread_.get(), time) == WAIT_OBJECT_0;
}

bool BaseThread::isRunning() const {
    if (runningId_ != 0)
        return true;
    DWORD exitCode = 0;
    return thread_ && GetExitCodeThread(thread_.get(), &exitCode) && exitCode == STILL_ACTIVE &&
           !isFinished();
}

bool BaseThread::isFinished() const {
    return WaitForSingleObject(finished_.get(), 0) == WAIT_OBJECT_0;
}

void BaseThread::waitFinished() const {
    const HANDLE ends[] = {finished_.get(), thread_.get()};
    if (thread_)
        WaitForMultipleObjects(2, ends, FALSE, INFINITE);
}

bool BaseThread::isOwnThread() const {
    return runningId_ == GetCurrentThreadId();
}

unsigned __stdcall BaseThread::entry(void* launcher) {
    if (launcher == nullptr)
        return 0;
    auto& self = *static_cast<BaseThread*>(launcher);
    const HMODULE module = self.module_.detach(); // self may be gone once finished_ is signalled
    self.runningId_ = GetCurrentThreadId();
    SetEvent(self.started_.get());
    if (self.function_ != nullptr)
        self.function_->Run(self.id_);
    self.runningId_ = 0;
    SetEvent(self.finished_.get());

    if (module != nullptr)
        FreeLibraryAndExitThread(module, 0);
    return 0;
}

} // namespace thread
