// Parts of GCC's runtime in another form. Its own ones are made for programs: in a DLL that is loaded and
// freed again and again, each load leaves 73 KB of memory, an index of thread local storage and two handles
// behind, and a thousand loads later there is no index left, which ends the process. They also bring 30 KB of
// code for POSIX threads.

#include "sys/mutex.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <mutex>

#if defined(__GLIBCXX__)
namespace {

/// Blocks of static memory for when the heap has none: most exceptions report just that. Any thread.
template <std::size_t kSize, std::size_t kCount>
class Reserve {
public:
    /// \return Null if all blocks are taken.
    void* take() {
        for (std::size_t i = 0; i < kCount; ++i)
            if (!isTaken_[i].exchange(true))
                return blocks_[i];
        return nullptr;
    }

    /// \return False if the block is not one of these.
    bool giveBack(const void* block) {
        for (std::size_t i = 0; i < kCount; ++i)
            if (block == blocks_[i]) {
                isTaken_[i] = false;
                return true;
            }
        return false;
    }

private:
    alignas(16) unsigned char blocks_[kCount][kSize] = {};
    std::atomic<bool> isTaken_[kCount] = {};
};

/// The exceptions of a thread, as the C++ ABI lays them out.
struct Globals {
    void* caught;
    unsigned uncaught;
};

constexpr std::size_t kLargestException = 512;
Reserve<kLargestException, 64> exceptions;
Reserve<sizeof(Globals), 256> records; ///< Of their own: a thread keeps its record until it ends.

template <class Blocks>
void* allocate(std::size_t size, Blocks& blocks, std::size_t largest) {
    void* memory = std::malloc(size);
    if (memory == nullptr && size <= largest)
        memory = blocks.take();
    if (memory == nullptr)
        std::terminate();
    return std::memset(memory, 0, size);
}

template <class Blocks>
void release(void* memory, Blocks& blocks) {
    if (!blocks.giveBack(memory))
        std::free(memory);
}

void releaseRecord(void* record) {
    if (record != nullptr)
        release(record, records);
}

/// A slot of storage per thread. Fiber local storage calls back when a thread or the library ends. Where the
/// process has used up its few slots, thread local storage takes its place: DllMain then releases the record
/// of a thread that ends.
class PerThread {
public:
    PerThread()
        : fiberIndex_(FlsAlloc(releaseRecord)),
          threadIndex_(fiberIndex_ == FLS_OUT_OF_INDEXES ? TlsAlloc() : TLS_OUT_OF_INDEXES) {}
    ~PerThread() {
        if (fiberIndex_ != FLS_OUT_OF_INDEXES)
            FlsFree(fiberIndex_);
        else
            TlsFree(threadIndex_);
    }

    bool isUsable() const { return fiberIndex_ != FLS_OUT_OF_INDEXES || threadIndex_ != TLS_OUT_OF_INDEXES; }

    Globals* get() const {
        const bool isFiber = fiberIndex_ != FLS_OUT_OF_INDEXES;
        void* record = isFiber ? FlsGetValue(fiberIndex_) : TlsGetValue(threadIndex_);
        if (record == nullptr) {
            record = allocate(sizeof(Globals), records, sizeof(Globals));
            if (!(isFiber ? FlsSetValue(fiberIndex_, record) : TlsSetValue(threadIndex_, record)))
                std::terminate();
        }
        return static_cast<Globals*>(record);
    }

    void onThreadEnd() const {
        if (fiberIndex_ == FLS_OUT_OF_INDEXES && threadIndex_ != TLS_OUT_OF_INDEXES)
            releaseRecord(TlsGetValue(threadIndex_));
    }

private:
    DWORD fiberIndex_, threadIndex_;
};

/// Constructed before and destroyed after all other static objects.
[[gnu::init_priority(101)]] const PerThread perThread;

/// For objects that are made at their first use: one lock for all, as making them is rare.
sys::Mutex guardMutex;
CONDITION_VARIABLE guardChanged = CONDITION_VARIABLE_INIT;

enum GuardByte { kIsMade, kIsBeingMade }; // the first one is laid down by the ABI

void leaveGuard(long long* object, bool isMade) {
    char* const guard = reinterpret_cast<char*>(object);
    const std::lock_guard lock(guardMutex);
    __atomic_store_n(guard + kIsMade, static_cast<char>(isMade ? 1 : 0), __ATOMIC_RELEASE);
    guard[kIsBeingMade] = 0;
    WakeAllConditionVariable(&guardChanged);
}

} // namespace

extern "C" {

// The runtime keeps its own data in front of an exception, in less than this.
constexpr std::size_t kHeader = 256;

void* __cxa_allocate_exception(std::size_t size) noexcept {
    return static_cast<char*>(allocate(kHeader + size, exceptions, kLargestException)) + kHeader;
}
void __cxa_free_exception(void* exception) noexcept {
    release(static_cast<char*>(exception) - kHeader, exceptions);
}
void* __cxa_allocate_dependent_exception() noexcept {
    return allocate(kHeader, exceptions, kLargestException);
}
void __cxa_free_dependent_exception(void* exception) noexcept {
    release(exception, exceptions);
}

Globals* __cxa_get_globals() noexcept {
    return perThread.get();
}
Globals* __cxa_get_globals_fast() noexcept {
    return perThread.get();
}

int __cxa_guard_acquire(long long* object) {
    char* const guard = reinterpret_cast<char*>(object);
    const std::lock_guard lock(guardMutex);
    while (guard[kIsBeingMade] != 0)
        guardMutex.sleep(guardChanged, INFINITE);
    if (guard[kIsMade] != 0)
        return 0;
    guard[kIsBeingMade] = 1;
    return 1;
}
void __cxa_guard_release(long long* object) {
    leaveGuard(object, true);
}
void __cxa_guard_abort(long long* object) {
    leaveGuard(object, false);
}

} // extern "C"

/// Refuses the load where exceptions could not work: the first one would end the process.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_THREAD_DETACH)
        perThread.onThreadEnd();
    return perThread.isUsable();
}

/// Prints the name of the exception otherwise: nobody would see it, and it brings 50 KB of code for that.
void __gnu_cxx::__verbose_terminate_handler() {
    std::abort();
}
#endif
