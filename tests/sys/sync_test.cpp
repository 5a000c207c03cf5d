#include "sys/safe_data_holder.h"
#include "sys/signal.h"

#include <atomic>
#include <functional>
#include <thread>

#include <gtest/gtest.h>

namespace {

TEST(Signal, WakesOneWaitAndIsResetByIt) {
    sys::Signal signal;
    EXPECT_FALSE(signal.wait(0));
    signal.set();
    EXPECT_TRUE(signal.wait(0));
    EXPECT_FALSE(signal.wait(1));
    const std::jthread setter([&] {
        Sleep(20);
        signal.set();
    });
    EXPECT_TRUE(signal.wait(60'000));
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
    sys::CSafeDataHolder<Pair> holder;
    const std::function<void()> methods[] = {[&] { holder.get(); },
                                             [&] {
                                                 holder.set({1, 2});
                                             },
                                             [&] { holder.get(&Pair::first); },
                                             [&] { holder.set(&Pair::second, 3); },
                                             [&] { holder.access([](Pair&) {}); }};
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
