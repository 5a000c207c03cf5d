#include "zelsyshelper.h"

#include "fs/file_io.h"
#include "fs/fx_config.h"
#include "modules/zelsyshelper/src/export_frame.h"
#include "text/utf16.h"

#include <atomic>

namespace {

struct KeptLink {
    KeptLink* previous;
};

template <class Store>
struct Kept : KeptLink {
    explicit Kept(const std::wstring& path) : KeptLink{}, store(path) {}
    Store store;
};

/// Each call of these exports keeps its store until the process ends, as their contract says. This list keeps
/// the stores reachable, so that leak detectors report only real leaks.
std::atomic<KeptLink*> newestKept;

template <class Store>
fs::CConfig& keep(const std::wstring& path) {
    auto* const kept = new Kept<Store>(path);
    kept->previous = newestKept.load();
    while (!newestKept.compare_exchange_weak(kept->previous, kept))
        continue;
    return kept->store;
}

/// Opens the store of a plain or enciphered file. A file that cannot be read counts as empty.
fs::CConfig& openStore(const wchar_t* file, bool isEnciphered) {
    const std::wstring path = frame::owned(file);
    fs::CConfig& store = isEnciphered ? keep<fs::FxConfig>(path) : keep<fs::CConfig>(path);
    store.load();
    return store;
}

} // namespace

uint64_t readProperty(const wchar_t* file, const char* key, wchar_t* buffer, uint32_t capacity,
                      uint8_t enciphered) {
    return frame::run(std::uint32_t{0}, [&] {
        const auto value = openStore(file, enciphered != 0).findValue(frame::owned(key));
        if (!value)
            return std::uint32_t{0};
        const std::wstring wide = text::utf8ToUtf16(*value);
        frame::copyOut(wide, buffer, capacity);
        return static_cast<std::uint32_t>(wide.size());
    });
}

uint64_t writeProperty(const wchar_t* file, const char* key, const wchar_t* value, uint8_t enciphered) {
    return frame::run(std::uint32_t{fs::kStatusFileFailed}, [&] {
        fs::CConfig& store = openStore(file, enciphered != 0);
        store.setValue(frame::owned(key), text::utf16ToUtf8(frame::owned(value)));
        return store.save();
    });
}

uint64_t checkProperty(const wchar_t* file, const char* key, uint8_t enciphered) {
    return frame::run(
        false, [&] { return openStore(file, enciphered != 0).findValue(frame::owned(key)).has_value(); });
}
