#include "xferlib/session.h"

#include "sys/mutex.h"
#include "win32/process.h"

#include <atomic>
#include <mutex>
#include <new>

namespace xferlib {
namespace {

constexpr ULONGLONG kLongestIdleTime = 30'000; // milliseconds
constexpr DWORD kDisableGlobalPooling = 195;   // not in the headers of MinGW-w64

struct KeptSession {
    explicit KeptSession(win32::WinHttpHandle&& session) : handle(std::move(session)) {}

    const win32::WinHttpHandle handle;
    std::atomic<ULONGLONG> lastUse = 0; ///< GetTickCount64.
};

class SessionCache {
public:
    ~SessionCache() {
        // At process exit WinHTTP may have handled DLL_PROCESS_DETACH before this library, so the session is
        // leaked. When only this library is unloaded, no request is open, and closing the session does not
        // block.
        if (kept_ && win32::isProcessEnding())
            new (std::nothrow) std::shared_ptr(std::move(kept_));
    }

    Session get(const std::wstring& proxy) {
        const std::lock_guard guard(mutex_);
        if (!kept_ || proxy != proxy_ || GetTickCount64() - kept_->lastUse > kLongestIdleTime) {
            // Close the old session first: closing it later would overwrite the error of WinHttpOpen. Store
            // the name before the session: an exception must not leave a session under another proxy's name.
            kept_.reset();
            proxy_ = proxy;
            kept_ = make(proxy);
        }
        if (!kept_)
            return nullptr;
        kept_->lastUse = GetTickCount64();
        return Session(&kept_->handle,
                       [kept = kept_](const win32::WinHttpHandle*) { kept->lastUse = GetTickCount64(); });
    }

private:
    static std::shared_ptr<KeptSession> make(const std::wstring& proxy) {
        win32::WinHttpHandle handle(
            proxy.empty() ? WinHttpOpen(kUserAgent, WINHTTP_ACCESS_TYPE_NO_PROXY, WINHTTP_NO_PROXY_NAME,
                                        WINHTTP_NO_PROXY_BYPASS, WINHTTP_FLAG_ASYNC)
                          : WinHttpOpen(kUserAgent, WINHTTP_ACCESS_TYPE_NAMED_PROXY, proxy.c_str(),
                                        WINHTTP_NO_PROXY_BYPASS, WINHTTP_FLAG_ASYNC));
        if (!handle)
            return nullptr;
        // Older systems disable TLS 1.2 by default and reject the flag of TLS 1.3.
        DWORD protocols = WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_2 | WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_3;
        if (!WinHttpSetOption(handle.get(), WINHTTP_OPTION_SECURE_PROTOCOLS, &protocols, sizeof protocols)) {
            protocols = WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_2;
            WinHttpSetOption(handle.get(), WINHTTP_OPTION_SECURE_PROTOCOLS, &protocols, sizeof protocols);
        }
        // Without this option, sessions of Windows 11 share connections: the session that replaces an idle
        // one would reuse its connections. Best effort: older systems lack the option.
        BOOL isOn = TRUE;
        WinHttpSetOption(handle.get(), kDisableGlobalPooling, &isOn, sizeof isOn);
        return std::make_shared<KeptSession>(std::move(handle));
    }

    static constexpr wchar_t kUserAgent[] = L"zelsyshelper";

    sys::Mutex mutex_;
    std::wstring proxy_;
    std::shared_ptr<KeptSession> kept_;
};

} // namespace

Session openSession(const std::wstring& proxy) {
    static SessionCache cache;
    return cache.get(proxy);
}

} // namespace xferlib
