#include "bench/import_counter.h"

#include "bench/harness.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <iterator>

namespace bench {
namespace {

constexpr std::size_t kMostThunks = 2048;

ImportCounter* active;

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

/// Machine code that raises the count and goes on to the target, and leaves all registers as they are.
struct ImportCounter::Thunk {
    // lock inc qword [rip + 16]; jmp qword [rip + 2]
    std::array<std::uint8_t, 16> code{0xF0, 0x48, 0xFF, 0x05, 16, 0, 0,    0,
                                      0xFF, 0x25, 2,    0,    0,  0, 0xCC, 0xCC};
    void* target = nullptr;
    std::uint64_t count = 0;
};

ImportCounter::ImportCounter(HMODULE module)
    : thunks_(static_cast<Thunk*>(VirtualAlloc(nullptr, kMostThunks * sizeof(Thunk), MEM_COMMIT | MEM_RESERVE,
                                               PAGE_EXECUTE_READWRITE))) {
    require(thunks_ != nullptr, "no memory for code");
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

void ImportCounter::replace(const std::string& library, const std::string& function, void** slot) {
    if (!isCode(*slot))
        return; // a variable of the runtime
    void* const target = function == "GetProcAddress" ? reinterpret_cast<void*>(&lookUp) : *slot;
    DWORD protection = 0;
    VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection);
    *slot = add(library, function, target);
    VirtualProtect(slot, sizeof *slot, protection, &protection);
}

void* ImportCounter::add(const std::string& library, const std::string& function, void* target) {
    for (const Entry& entry : entries_)
        if (entry.thunk->target == target)
            return entry.thunk; // it was looked up before
    require(entries_.size() < kMostThunks, "too many imports");
    Thunk* const thunk = new (thunks_ + entries_.size()) Thunk{.target = target};
    entries_.push_back({library, function, thunk});
    return thunk;
}

FARPROC WINAPI ImportCounter::lookUp(HMODULE module, const char* name) {
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

void ImportCounter::clear() {
    for (const Entry& entry : entries_)
        entry.thunk->count = 0;
}

std::vector<ImportCounter::Calls> ImportCounter::calls() const {
    std::vector<Calls> calls;
    for (const Entry& entry : entries_)
        if (entry.thunk->count != 0)
            calls.push_back({entry.library, entry.function, entry.thunk->count});
    return calls;
}

} // namespace bench
