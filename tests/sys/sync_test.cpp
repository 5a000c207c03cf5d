#include "sys/safe_data_holder.h"
#include "sys/signal.h"

#include "support/seam.h"

#include <atomic>
#include <functional>
#include <thread>

#include <gtest/gtest.h>

ZELSYS_SEAM(L"kernel32.dll", GetTickCount64)
ZELSYS_SEAM(L"kernel32.dll", SleepConditionVariableSRW)

namespace {

TEST(Signal, WakesOneWaitAndIsResetByIt) {
    sys::Signal signal;
    EXPECT_FALSE(signal.wait(0));
    signal.set();
    EXPECT_TRUE(signal.wait(0));
    ULONGLONG now = 1000;
    GetTickCount64Seam::fake = [&] { return now; };
    SleepConditionVariableSRWSeam::fake = [&](auto, auto, DWORD time, auto) {
        EXPECT_EQ(now + time, 1100) << "the rest of the time-out, after a spurious wake-up too";
        now += 40;
        return TRUE;
    };
    EXPECT_FALSE(signal.wait(100) || now != 1120);
    testing_support::restoreSeams();
    const std::jthread setter([&] {
        Sleep(20);
        signal.set();
    });
    EXPECT_TRUE(signal.wait(INFINITE));
}

TEST(CsWrapper, OtherThreadsCannotEnterMeanwhile) {
    sys::CCsWrapper section;
    bool hasEntered = false;
    const auto tryEnter = [&] {
        std::thread([&] {
            hasEntered = section.TryEnter();
            if (hasEntered)
                section.Leave();
        }).join();
        return hasEntered;
    };
    section.Enter();
    EXPECT_TRUE(section.TryEnter()) << "the same thread";
    section.Leave();
    EXPECT_FALSE(tryEnter());
    section.Leave();
    EXPECT_TRUE(tryEnter());
}

TEST(SafeDataHolder, MethodsRunOneAtATime) {
    struct Pair {
        int first = 0, second = 0;
    };
    const Pair pair{1, 2};
    sys::CSafeDataHolder<Pair> holder;
    const std::function<void()> methods[] = {
        [&] { holder.get(); }, [&] { holder.set(pair); }, [&] { holder.get(&Pair::first); },
        [&] { holder.set(&Pair::second, 3); }, [&] { holder.access([](Pair&) {}); }};
    for (const auto& method : methods) {
        std::atomic<bool> hasReturned = false;
        std::jthread other;
        holder.access([&](Pair&) {
            other = std::jthread([&] {
                method();
                hasReturned = true;
            });
            Sleep(20);
            EXPECT_FALSE(hasReturned);
        });
    }
    EXPECT_EQ(holder.get().first + holder.get(&Pair::second), 1 + 3);
}

} // namespace
