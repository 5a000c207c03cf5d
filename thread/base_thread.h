#pragma once

#include "win32/owner.h"

#include <cstdint>

namespace thread {

/// \brief A piece of work that a thread runs.
class CThreadFunction {
public:
    virtual ~CThreadFunction() = default;

    /// \brief Does the work. Its outcome is told by means of its own.
    /// \param id The number of the launcher that runs it.
    virtual void Run(std::uint32_t id) = 0;
};

/// \brief Runs a \ref CThreadFunction on a thread of its own, once for each `Start`.
///
/// Destruction closes the handles and neither waits for the thread nor ends it: its user sees to it that the
/// work is over. While the thread runs, the module that holds its code stays loaded.
class BaseThread {
public:
    explicit BaseThread(std::uint32_t id);
    BaseThread(const BaseThread&) = delete;
    BaseThread& operator=(const BaseThread&) = delete;
    virtual ~BaseThread();

    /// \brief Sets what the thread runs. It is not owned, and must outlive the thread's run.
    void setFunction(CThreadFunction* function) { function_ = function; }

    /// \brief Starts the thread and returns once it is running.
    /// \return 0; 87 without a function; 170 while the last run is not over; 10 when no thread can be made.
    std::uint32_t Start();

    /// \brief Waits until the thread of the last start is gone. Returns at once when there is none, or when
    /// it is the calling one.
    /// \return False when the time, in milliseconds, was over before.
    bool wait(std::uint32_t time) const;

    /// \brief Whether a run has begun and is not over.
    bool isRunning() const;

    /// \brief Whether the last run is over; false before the first one.
    bool isFinished() const;

    /// \brief Waits until the last run is over or its thread is gone, whichever comes first. Returns at once
    /// when there was none.
    void waitFinished() const;

    /// \brief Whether the caller is on the thread of the last start.
    bool isOwnThread() const;

private:
    static unsigned __stdcall entry(void* launcher);

    const std::uint32_t id_;
    CThreadFunction* function_ = nullptr;
    win32::KernelHandle thread_;
    win32::KernelHandle started_;
    win32::KernelHandle finished_;
};

/// \brief The launcher that hands `N` to the work it runs.
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
