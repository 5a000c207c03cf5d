// The heap of the DLL and the tests in the hardened build. A block, rounded up to kAlignment, ends with its
// last page. The next page is not accessible, and a freed block stays so until kKept others have been freed.

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include <windows.h>

namespace {

constexpr std::size_t kPage = 4096, kAlignment = 16;
constexpr std::size_t kKept = 10'000; // number of freed blocks that stay inaccessible
constexpr unsigned char kUntouched = 0xA5;

struct Header { // at the start of the first page
    std::size_t size, pages;
};

std::size_t roundedUp(std::size_t size, std::size_t unit) {
    return (size + unit - 1) / unit * unit;
}

/// Returns the start of the block: as close to the end of its pages as the alignment permits.
unsigned char* blockOf(Header* header) {
    return reinterpret_cast<unsigned char*>(header) + header->pages * kPage -
           roundedUp(header->size, kAlignment);
}

Header* headerOf(void* block) {
    MEMORY_BASIC_INFORMATION memory{};
    VirtualQuery(block, &memory, sizeof memory);
    return static_cast<Header*>(memory.AllocationBase);
}

void* allocate(std::size_t size) noexcept {
    if (size > PTRDIFF_MAX / 2)
        return nullptr;
    const std::size_t pages = roundedUp(sizeof(Header) + roundedUp(size, kAlignment), kPage) / kPage;
    void* const place = VirtualAlloc(nullptr, (pages + 1) * kPage, MEM_RESERVE, PAGE_NOACCESS);
    if (place == nullptr || VirtualAlloc(place, pages * kPage, MEM_COMMIT, PAGE_READWRITE) == nullptr)
        return nullptr;
    auto* const header = new (place) Header{size, pages};
    unsigned char* const block = blockOf(header);
    std::memset(block, kUntouched, roundedUp(size, kAlignment));
    return block;
}

void release(void* block) noexcept {
    if (block == nullptr)
        return;
    Header* const header = headerOf(block);
    const auto* const bytes = static_cast<const unsigned char*>(block);
    bool isSound = blockOf(header) == bytes; // false: not the start of a block
    for (std::size_t i = header->size; isSound && i < roundedUp(header->size, kAlignment); ++i)
        isSound = bytes[i] == kUntouched; // false: a write past the end of the block
    if (!isSound || !VirtualFree(header, header->pages * kPage, MEM_DECOMMIT))
        std::abort();
    // The system reserves at most some tens of thousands of ranges, so the oldest one is released.
    static std::atomic<std::size_t> count;
    static std::atomic<void*> left[kKept];
    if (void* const oldest = left[count++ % kKept].exchange(header))
        VirtualFree(oldest, 0, MEM_RELEASE);
}

} // namespace

// The array and nothrow forms call these.
void* operator new(std::size_t size) {
    if (void* const block = allocate(size))
        return block;
    throw std::bad_alloc();
}
void operator delete(void* block) noexcept {
    release(block);
}
void operator delete(void* block, std::size_t) noexcept {
    release(block);
}
