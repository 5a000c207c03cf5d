#include <atomic>
#include <mutex>
#include <new>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

namespace {

std::atomic<bool> isMemoryLeft = true;

DWORD WINAPI noFiberSlot(PFLS_CALLBACK_FUNCTION) {
    return FLS_OUT_OF_INDEXES;
}

void* mallocWhileMemoryIsLeft(std::size_t size) {
    static void* const real =
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"msvcrt.dll"), "malloc"));
    return isMemoryLeft ? reinterpret_cast<void* (*)(std::size_t)>(real)(size) : nullptr;
}

} // namespace

// This program links the library's parts of the C++ runtime. They call FlsAlloc before main runs.
extern "C" {
decltype(&FlsAlloc) __imp_FlsAlloc = &noFiberSlot;
void* (*__imp_malloc)(std::size_t) = &mallocWhileMemoryIsLeft;
BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved);
}
asm(".text\n.globl malloc\nmalloc: jmp *__imp_malloc(%rip)\n");

namespace {

TEST(GccRuntime, ThreadsThrowWithoutMemoryAndWithoutFlsSlots) {
    constexpr int kThreads = 60;
    const auto waitUntil = [](const auto& condition) {
        while (!condition())
            Sleep(1);
    };
    // Repeated: a thread that ends must release its blocks of the reserve.
    for (int round = 0; round < 6; ++round) {
        std::atomic<int> caught = 0;
        std::mutex mutex;
        std::set<const void*> exceptions;
        std::atomic<bool> isOver = false;
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i)
            threads.emplace_back([&] {
                waitUntil([] { return !isMemoryLeft; });
                try {
                    throw std::bad_alloc();
                } catch (const std::bad_alloc& exception) {
                    ++caught;
                    waitUntil([&] { return isOver.load(); });
                    const std::lock_guard guard(mutex);
                    exceptions.insert(&exception);
                }
                DllMain(nullptr, DLL_THREAD_DETACH, nullptr); // the system calls it in a DLL only
            });
        isMemoryLeft = false;
        waitUntil([&] { return caught == kThreads; });
        isMemoryLeft = true;
        isOver = true;
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(exceptions.size(), std::size_t{kThreads}) << "each exception has its own memory";
    }
    EXPECT_TRUE(DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr));
}

TEST(GccRuntime, FailedInitialisationIsRepeated) {
    std::atomic<int> calls = 0, failures = 0;
    const auto use = [&] {
        try {
            static const int value = (Sleep(50), ++calls == 1 ? throw 1 : 2);
            EXPECT_EQ(value, 2);
        } catch (int) {
            ++failures;
        }
    };
    {
        const std::jthread first(use), second(use), third(use); // two wait for the first
    }
    use();
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(failures, 1);
}

} // namespace
