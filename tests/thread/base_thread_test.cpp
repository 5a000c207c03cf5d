#include "thread/base_thread.h"

#include "support/seam.h"

#include <process.h>

#include <gtest/gtest.h>

ZELSYS_SEAM(L"msvcrt.dll", _beginthreadex)

namespace {

/// Runs until it is let go, and counts its runs.
struct Work : win32::CThreadFunction {
    win32::KernelHandle letGo{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    std::atomic<std::uint32_t> lastId = 0;
    std::atomic<int> runs = 0;

    void Run(std::uint32_t id) override {
        lastId = id;
        ++runs;
        WaitForSingleObject(letGo.get(), 30'000);
    }
};

TEST(BaseThread, StartsAgainOnlyAfterItsRun) {
    Work work;
    win32::CBaseThread<100> launcher;
    EXPECT_EQ(launcher.Start(), 87u);
    launcher.setFunction(&work);
    for (int run = 1; run <= 2; ++run) {
        ResetEvent(work.letGo.get());
        EXPECT_EQ(launcher.Start(), 0u);
        EXPECT_EQ(launcher.Start(), 170u);
        EXPECT_FALSE(launcher.isFinished());
        EXPECT_FALSE(launcher.wait(10));
        SetEvent(work.letGo.get());
        EXPECT_TRUE(launcher.wait(10'000));
        EXPECT_TRUE(launcher.isFinished());
        EXPECT_EQ(work.runs, run);
        EXPECT_EQ(work.lastId, 100u);
    }
    _beginthreadexSeam::failWith(ERROR_ACCESS_DENIED);
    EXPECT_EQ(launcher.Start(), 10u) << "no thread, whatever the cause";
    EXPECT_EQ(_beginthreadexSeam::calls, 1);
    _beginthreadexSeam::restore();
    EXPECT_EQ(launcher.Start(), 0u);
    EXPECT_TRUE(launcher.wait(10'000));
    EXPECT_EQ(work.runs, 3);
}

} // namespace
