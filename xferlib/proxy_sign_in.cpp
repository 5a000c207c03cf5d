#include "xferlib/proxy_sign_in.h"

#include "sys/mutex.h"

#include <mutex>

namespace xferlib {
namespace {

constexpr ULONGLONG kRefusalLifetime = 60'000; // milliseconds
constexpr DWORD kSchemes[] = {WINHTTP_AUTH_SCHEME_NEGOTIATE, WINHTTP_AUTH_SCHEME_NTLM,
                              WINHTTP_AUTH_SCHEME_DIGEST, WINHTTP_AUTH_SCHEME_BASIC};

/// The schemes by which a proxy has refused an account lately.
class Refusals {
public:
    DWORD find(const std::wstring& account) {
        const std::lock_guard guard(mutex_);
        return account == account_ && GetTickCount64() - time_ < kRefusalLifetime ? schemes_ : 0;
    }

    void store(const std::wstring& account, DWORD schemes) {
        const std::lock_guard guard(mutex_);
        account_ = account;
        schemes_ = schemes;
        time_ = GetTickCount64();
    }

private:
    sys::Mutex mutex_;
    std::wstring account_;
    DWORD schemes_ = 0;
    ULONGLONG time_ = 0;
};

Refusals& refusals() {
    static Refusals instance;
    return instance;
}

} // namespace

ProxySignIn::ProxySignIn(std::wstring proxy, std::wstring user, std::wstring password)
    : account_(std::move(proxy)), user_(std::move(user)), password_(std::move(password)) {
    account_.append(1, L'\n').append(user_).append(1, L'\n').append(password_);
    refused_ = refusals().find(account_);
}

bool ProxySignIn::answerRefusal(HINTERNET request) {
    if (current_ != 0) {
        refused_ |= current_;
        refusals().store(account_, refused_);
        current_ = 0;
    }
    DWORD offered = 0, first = 0, target = 0;
    if (user_.empty() || !WinHttpQueryAuthSchemes(request, &offered, &first, &target) ||
        target != WINHTTP_AUTH_TARGET_PROXY)
        return false;
    for (const DWORD scheme : kSchemes)
        if ((offered & ~refused_ & scheme) != 0 &&
            WinHttpSetCredentials(request, WINHTTP_AUTH_TARGET_PROXY, scheme, user_.c_str(),
                                  password_.c_str(), nullptr)) {
            current_ = scheme;
            return true;
        }
    return false;
}

} // namespace xferlib
