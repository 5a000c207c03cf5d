#include "thread/base_thread.h"

#include "support/seam.h"

#include <process.h>

#include <gtest/gtest.h>

ZELSYS_SEAM(L"msvcrt.dll", _beginthreadex)
ZELSYS_SEAM(L"kernel32.dll", CreateEventW)
ZELSYS_SEAM(L"kernel32.dll", SetEvent)

namespace {

TEST(BaseThread, RefusesAStartDuringARun) {
    win32::CBaseThread<100> launcher;
    struct Work : win32::CThreadFunction {
        explicit Work(const thread::BaseThread& launcher) : own(launcher) {}
        void Run(std::uint32_t id) noexcept override {
            sum += own.isOwnThread() ? id : 0;
            WaitForSingleObject(letGo.get(), 30'000);
        }
        const thread::BaseThread& own;
        const win32::KernelHandle letGo{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
        std::atomic<std::uint32_t> sum = 0;
    } work(launcher);
    std::atomic<int> sets = 0, begun = 0, ended = 0;
    SetEventSeam::fake = [&, starter = GetCurrentThreadId()](HANDLE event) {
        const bool isWorker = GetCurrentThreadId() != starter, isBegin = isWorker && sets++ % 2 == 0;
        if (isBegin) {
            Sleep(20);
            ++begun;
        }
        const BOOL result = SetEventSeam::real(event);
        if (isWorker && !isBegin) { // the last action of the thread
            Sleep(50);
            ++ended;
        }
        return result;
    };
    EXPECT_EQ(launcher.Start(), 87u) << "nothing to run";
    EXPECT_TRUE(launcher.wait(0)) << "no thread";
    CreateEventWSeam::fake = [](auto... arguments) {
        return CreateEventWSeam::calls == 2 ? nullptr : CreateEventWSeam::real(arguments...);
    };
    CreateEventWSeam::calls = 0;
    launcher.setFunction(&work);
    EXPECT_EQ(launcher.Start(), 10u) << "the second event is missing";
    _beginthreadexSeam::failWith(ERROR_ACCESS_DENIED);
    EXPECT_EQ(launcher.Start(), 10u) << "no thread, whatever the cause";
    std::uint32_t run = 1;
    _beginthreadexSeam::fake = [&run](auto a, auto b, auto c, auto d, unsigned flags, auto e) {
        EXPECT_EQ(flags, 0u) << "CreateThread refuses unknown flags";
        const auto thread = _beginthreadexSeam::real(a, b, c, d, flags, e);
        Sleep(run == 3 ? 60 : 0); // the third run begins before _beginthreadex returns
        return thread;
    };
    for (; run <= 3; ++run) {
        EXPECT_EQ(launcher.Start(), 0u);
        EXPECT_EQ(begun, static_cast<int>(run)) << "waits until the thread runs";
        EXPECT_EQ(ended, static_cast<int>(run) - 1) << "waits until the previous thread has ended";
        EXPECT_EQ(launcher.Start(), 170u);
        EXPECT_FALSE(launcher.isFinished() || launcher.isOwnThread() || launcher.wait(10));
        SetEvent(work.letGo.get());
        launcher.waitFinished();
        EXPECT_TRUE(launcher.isFinished());
        EXPECT_EQ(work.sum, 100 * run);
    }
    EXPECT_TRUE(launcher.wait(10'000));
    testing_support::restoreSeams();
}

} // namespace
