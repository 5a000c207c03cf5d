// Replaces parts of GCC's runtime. GCC's own versions assume that they are never unloaded: each load of the
// DLL leaks 73 KB, an index of thread local storage and two handles. A thousand loads exhaust the indexes,
// which ends the process. GCC's versions also add 30 KB of code for POSIX threads.

#include "sys/mutex.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <mutex>

#if defined(__GLIBCXX__)
namespace {

/// Static blocks that replace malloc when it fails, so that std::bad_alloc can be thrown. Thread-safe.
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
        const std::size_t offset =
            reinterpret_cast<std::uintptr_t>(block) - reinterpret_cast<std::uintptr_t>(blocks_);
        if (offset >= sizeof blocks_)
            return false;
        isTaken_[offset / kSize] = false;
        return true;
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
Reserve<sizeof(Globals), 256> records; ///< Separate: a thread keeps its record until it ends.

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

/// One record per thread. The callback of FlsAlloc releases it when the thread ends or the library is
/// unloaded. If FlsAlloc has no free index, thread local storage replaces fiber local storage: DllMain then
/// releases the record of a thread that ends.
class PerThread {
public:
    PerThread()
        : fiberIndex_(FlsAlloc(releaseRecord)),
          threadIndex_(fiberIndex_ == FLS_OUT_OF_INDEXES ? TlsAlloc() : TLS_OUT_OF_INDEXES) {}
    ~PerThread() {
        onThreadEnd();
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
        if (fiberIndex_ != FLS_OUT_OF_INDEXES || threadIndex_ == TLS_OUT_OF_INDEXES)
            return;
        releaseRecord(TlsGetValue(threadIndex_));
        TlsSetValue(threadIndex_, nullptr); // a DLL whose DllMain runs later may still call an export
    }

private:
    DWORD fiberIndex_, threadIndex_;
};

/// Constructed before and destroyed after all other static objects.
[[gnu::init_priority(101)]] const PerThread perThread;

/// One lock for all function-local statics: they are initialised rarely.
sys::Mutex guardMutex;
CONDITION_VARIABLE guardChanged = CONDITION_VARIABLE_INIT;

enum GuardByte { kIsMade, kIsBeingMade }; // the ABI defines the first one

void leaveGuard(long long* object, bool isMade) {
    char* const guard = reinterpret_cast<char*>(object);
    const std::lock_guard lock(guardMutex);
    __atomic_store_n(guard + kIsMade, static_cast<char>(isMade ? 1 : 0), __ATOMIC_RELEASE);
    guard[kIsBeingMade] = 0;
    WakeAllConditionVariable(&guardChanged);
}

} // namespace

extern "C" {

// Bytes before each exception object; the header that the runtime stores there is smaller.
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

/// Fails the load if no FLS or TLS index is free: the first exception would end the process.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_THREAD_DETACH)
        perThread.onThreadEnd();
    return perThread.isUsable();
}

/// Aborts without a message. GCC's handler prints the exception's name to standard error, which window
/// applications do not show, and adds 50 KB of code.
void __gnu_cxx::__verbose_terminate_handler() {
    std::abort();
}
#endif
