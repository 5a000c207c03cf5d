#include "tools/imports/import_hooks.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <new>

extern "C" {
// Used by the machine code below.
std::atomic<std::uint64_t> importsReached, importsFailing{UINT64_MAX};
std::atomic<void*> importsFailed;
void importsDecide();
}

// Continues a thunk whose function can fail: counts the call, then jumps to the function or returns a
// failure. RAX points to the data of the thunk: {target, count, result, error}. Preserves the argument
// registers. GS:[0x68] holds the thread's last error.
asm(R"(
.text
.globl importsDecide
importsDecide:
    mov $1, %r10d
    lock xadd %r10, importsReached(%rip)
    cmp importsFailing(%rip), %r10
    je 1f
    jmp *(%rax)
1:  mov %rax, importsFailed(%rip)
    mov 24(%rax), %r10d
    mov %r10d, %gs:0x68
    mov 16(%rax), %rax
    ret
)");

namespace imports {
namespace {

constexpr std::size_t kMostThunks = 512;

Hooks* active;

std::string lower(std::string text) {
    std::ranges::transform(text, text.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

bool isCode(const void* address) {
    MEMORY_BASIC_INFORMATION memory{};
    constexpr DWORD kExecutable =
        PAGE_EXECUTE | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    return VirtualQuery(address, &memory, sizeof memory) != 0 && (memory.Protect & kExecutable) != 0;
}

} // namespace

/// Machine code that increments `count` and jumps to `next`. Preserves the argument registers.
struct Hooks::Thunk {
    // lock inc qword [rip + 32]; lea rax, [rip + 17]; jmp qword [rip + 3]
    std::array<std::uint8_t, 24> code{0xF0, 0x48, 0xFF, 0x05, 32,   0, 0, 0, 0x48, 0x8D, 0x05, 17,
                                      0,    0,    0,    0xFF, 0x25, 3, 0, 0, 0,    0xCC, 0xCC, 0xCC};
    void* next = nullptr;
    void* target = nullptr;
    std::uint64_t count = 0;
    Failure failure;
};

Hooks::Hooks(HMODULE module, Rule rule, std::vector<Substitute> substitutes)
    : rule_(std::move(rule)), substitutes_(std::move(substitutes)),
      thunks_(static_cast<Thunk*>(VirtualAlloc(nullptr, kMostThunks * sizeof(Thunk), MEM_COMMIT | MEM_RESERVE,
                                               PAGE_EXECUTE_READWRITE))) {
    if (thunks_ == nullptr)
        throw std::bad_alloc();
    entries_.reserve(kMostThunks); // never moves: `failed` reads it without the lock
    active = this;
    auto* const base = reinterpret_cast<std::uint8_t*>(module);
    const auto at = [&](auto* type, std::uint64_t offset) {
        return reinterpret_cast<decltype(type)>(base + offset);
    };
    const auto* const dos = at(static_cast<IMAGE_DOS_HEADER*>(nullptr), 0);
    const auto* const headers =
        at(static_cast<IMAGE_NT_HEADERS64*>(nullptr), static_cast<std::uint64_t>(dos->e_lfanew));
    const IMAGE_DATA_DIRECTORY& imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    for (auto* library = at(static_cast<IMAGE_IMPORT_DESCRIPTOR*>(nullptr), imports.VirtualAddress);
         library->Name != 0; ++library) {
        const std::string name = lower(at(static_cast<char*>(nullptr), library->Name));
        auto* slot = at(static_cast<void**>(nullptr), library->FirstThunk);
        for (auto* entry = at(static_cast<IMAGE_THUNK_DATA64*>(nullptr), library->OriginalFirstThunk);
             entry->u1.AddressOfData != 0; ++entry, ++slot)
            if (!IMAGE_SNAP_BY_ORDINAL64(entry->u1.Ordinal))
                replace(name, at(static_cast<IMAGE_IMPORT_BY_NAME*>(nullptr), entry->u1.AddressOfData)->Name,
                        slot);
    }
}

Hooks::~Hooks() {
    failNone();
    active = nullptr;
    VirtualFree(thunks_, 0, MEM_RELEASE);
}

void Hooks::replace(const std::string& library, const std::string& function, void** slot) {
    if (!isCode(*slot))
        return; // an imported variable
    const auto substitute = std::ranges::find(substitutes_, function, &Substitute::function);
    DWORD protection = 0;
    VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection);
    *slot = substitute != substitutes_.end() ? substitute->target
            : function == "GetProcAddress"   ? add(library, function, reinterpret_cast<void*>(&lookUp))
                                             : add(library, function, *slot);
    VirtualProtect(slot, sizeof *slot, protection, &protection);
}

void* Hooks::add(const std::string& library, const std::string& function, void* target) {
    const std::lock_guard guard(mutex_);
    for (const Entry& entry : entries_)
        if (entry.thunk->target == target)
            return entry.thunk; // looked up before
    if (entries_.size() == kMostThunks)
        std::abort();
    const auto failure = rule_ ? rule_(library, function) : std::nullopt;
    Thunk* const thunk = new (thunks_ + entries_.size()) Thunk{
        .next = failure ? reinterpret_cast<void*>(&importsDecide) : target,
        .target = target,
        .failure = failure.value_or(Failure()),
    };
    entries_.push_back({library, function, thunk});
    return thunk;
}

FARPROC WINAPI Hooks::lookUp(HMODULE module, const char* name) {
    const FARPROC found = GetProcAddress(module, name);
    if (found == nullptr || IS_INTRESOURCE(name) || !isCode(reinterpret_cast<void*>(found)))
        return found;
    char path[MAX_PATH] = {};
    GetModuleFileNameA(module, path, MAX_PATH);
    const char* const file = std::strrchr(path, '\\');
    void* const thunk =
        active->add(lower(file != nullptr ? file + 1 : path), name, reinterpret_cast<void*>(found));
    return reinterpret_cast<FARPROC>(thunk);
}

void Hooks::clear() {
    const std::lock_guard guard(mutex_);
    for (const Entry& entry : entries_)
        entry.thunk->count = 0;
}

std::vector<Hooks::Calls> Hooks::calls() const {
    const std::lock_guard guard(mutex_);
    std::vector<Calls> calls;
    for (const Entry& entry : entries_)
        if (entry.thunk->count != 0)
            calls.push_back({entry.library, entry.function, entry.thunk->count});
    return calls;
}

void Hooks::failAt(std::uint64_t number) {
    importsFailed = nullptr;
    importsReached = 0;
    importsFailing = number;
}

void Hooks::failNone() {
    importsFailing = UINT64_MAX;
}

bool Hooks::shouldFail() {
    static char memory; // marks a failed allocation, which has no thunk
    if (importsReached.fetch_add(1) != importsFailing)
        return false;
    importsFailed = &memory;
    return true;
}

const char* Hooks::failed() const {
    void* const data = importsFailed;
    for (const Entry& entry : entries_)
        if (&entry.thunk->target == data)
            return entry.function.c_str();
    return data != nullptr ? "an allocation" : nullptr;
}

} // namespace imports
