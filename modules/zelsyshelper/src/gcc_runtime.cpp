// Parts of GCC's runtime in another form. Its own ones are made for programs: in a DLL that is loaded and freed again
// and again, each load leaves 73 KB of memory, an index of thread local storage and two handles behind, and a
// thousand loads later there is no index left, which ends the process. They also bring 30 KB of code for POSIX threads.

#include "sys/mutex.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <mutex>

#if defined(__GLIBCXX__)
namespace {

/// For exceptions when the heap has no memory: most of them tell just that.
constexpr std::size_t kReserved = 16, kReservedSize = 512;
alignas(16) unsigned char reserve[kReserved][kReservedSize];
std::atomic<bool> isTaken[kReserved];

void* allocate(std::size_t size) {
    void* memory = std::malloc(size);
    for (std::size_t i = 0; memory == nullptr && size <= kReservedSize && i < kReserved; ++i)
        if (!isTaken[i].exchange(true))
            memory = reserve[i];
    if (memory == nullptr)
        std::terminate();
    return std::memset(memory, 0, size);
}

void release(void* memory) {
    for (std::size_t i = 0; i < kReserved; ++i)
        if (memory == reserve[i]) {
            isTaken[i] = false;
            return;
        }
    std::free(memory);
}

/// The exceptions of a thread, as the C++ ABI lays them out.
struct Globals {
    void* caught;
    unsigned uncaught;
};

class PerThread {
public:
    PerThread()
        : index_(FlsAlloc([](void* globals) {
              if (globals != nullptr)
                  release(globals);
          })) {}
    ~PerThread() { FlsFree(index_); }

    Globals* get() const {
        auto* globals = static_cast<Globals*>(FlsGetValue(index_));
        if (globals == nullptr) {
            globals = static_cast<Globals*>(allocate(sizeof(Globals)));
            if (!FlsSetValue(index_, globals))
                std::terminate();
        }
        return globals;
    }

private:
    DWORD index_;
};

/// Before all other objects there, and after them.
[[gnu::init_priority(101)]] const PerThread perThread;

/// For objects that are made at their first use: one lock for all, as making them is rare.
sys::Mutex guardMutex;
CONDITION_VARIABLE guardChanged = CONDITION_VARIABLE_INIT;

enum GuardByte { kIsMade, kIsBeingMade }; // the first one is laid down by the ABI

void leaveGuard(long long* object, bool isMade) {
    char* const guard = reinterpret_cast<char*>(object);
    const std::lock_guard lock(guardMutex);
    __atomic_store_n(guard + kIsMade, char{isMade}, __ATOMIC_RELEASE);
    guard[kIsBeingMade] = 0;
    WakeAllConditionVariable(&guardChanged);
}

} // namespace

extern "C" {

// The runtime keeps its own data in front of an exception, in less than this.
constexpr std::size_t kHeader = 256;

void* __cxa_allocate_exception(std::size_t size) noexcept {
    return static_cast<char*>(allocate(kHeader + size)) + kHeader;
}
void __cxa_free_exception(void* exception) noexcept {
    release(static_cast<char*>(exception) - kHeader);
}
void* __cxa_allocate_dependent_exception() noexcept {
    return allocate(kHeader);
}
void __cxa_free_dependent_exception(void* exception) noexcept {
    release(exception);
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

/// Prints the name of the exception otherwise: nobody would see it, and it brings 50 KB of code for that.
void __gnu_cxx::__verbose_terminate_handler() {
    std::abort();
}
#endif
