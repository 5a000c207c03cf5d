#pragma once

#include "win32/owner.h"

#include <atomic>
#include <cstdint>

namespace thread {

/// \brief Work that a \ref BaseThread runs.
class CThreadFunction {
public:
    virtual ~CThreadFunction() = default;

    /// \brief Does the work on the thread. Stores a failure in this object, where its owner reads it.
    /// \param id Number of the launcher that runs the work.
    virtual void Run(std::uint32_t id) noexcept = 0;
};

/// \brief Runs a \ref CThreadFunction on a thread of its own, once for each `Start`.
///
/// The destructor closes the handles. It neither waits for the thread nor terminates it: the caller must
/// ensure that the run is over first. The module of the thread's code stays loaded while the thread runs. One
/// thread at a time may use the launcher; the launched thread itself may call `isOwnThread`, `isRunning` and
/// `wait`.
class BaseThread {
public:
    explicit BaseThread(std::uint32_t id);
    BaseThread(const BaseThread&) = delete;
    BaseThread& operator=(const BaseThread&) = delete;
    virtual ~BaseThread();

    /// \brief Sets the function to run. Not owned; must outlive every run.
    void setFunction(CThreadFunction* function) { function_ = function; }

    /// \brief Starts the thread and blocks until it is running.
    /// \return 0; `ERROR_INVALID_PARAMETER` (87) without a function; `ERROR_BUSY` (170) during a run;
    /// `ERROR_BAD_ENVIRONMENT` (10) if an event or the thread cannot be created, or its module cannot be kept
    /// loaded.
    std::uint32_t Start();

    /// \brief Blocks until the thread of the last `Start` has ended. Returns immediately without a thread,
    /// and on that thread itself.
    /// \param time Time-out in milliseconds, or INFINITE.
    /// \return False if the wait timed out.
    bool wait(std::uint32_t time) const;

    /// \brief Returns true during a run.
    bool isRunning() const;

    /// \brief Returns true if the last run is over; false before the first run, and after a `Start` that
    /// could not create its thread.
    bool isFinished() const;

    /// \brief Blocks until the last run is over or its thread has ended, whichever happens first. Returns
    /// immediately if there was no run.
    void waitFinished() const;

    /// \brief Returns true on the thread of the current run.
    bool isOwnThread() const;

private:
    static unsigned __stdcall entry(void* launcher);

    const std::uint32_t id_;
    CThreadFunction* function_ = nullptr;
    win32::KernelHandle thread_;
    win32::Library module_; ///< Set only until the new thread takes it.
    /// 0 without a run. Set by the new thread itself, which may run before Start has stored `thread_`.
    std::atomic<std::uint32_t> runningId_ = 0;
    win32::KernelHandle started_;
    win32::KernelHandle finished_;
};

/// \brief Launcher that passes `N` to `CThreadFunction::Run`.
template <std::uint32_t N>
class CBaseThread : public BaseThread {
public:
    CBaseThread() : BaseThread(N) {}
};

} // namespace thread

namespace win32 {

using thread::CBaseThread;
using thread::CThreadFunction;

} // namespace win32
