#include "xferlib/proxy_sign_in.h"

#include "sys/safe_data_holder.h"

#include <functional>

namespace xferlib {
namespace {

constexpr ULONGLONG kRefusalLifetime = 60'000; // milliseconds
constexpr DWORD kSchemes[] = {WINHTTP_AUTH_SCHEME_NEGOTIATE, WINHTTP_AUTH_SCHEME_NTLM,
                              WINHTTP_AUTH_SCHEME_DIGEST, WINHTTP_AUTH_SCHEME_BASIC};

using Account = ProxySignIn::Account;

/// The schemes by which a proxy has recently refused an account. Remembers one account.
class Refusals {
public:
    DWORD find(const Account& account) const { return holds(account) ? schemes_ : 0; }

    /// Adds schemes to the account's refusals. Discards expired refusals and those of another account.
    void add(const Account& account, DWORD schemes) {
        if (!holds(account)) {
            schemes_ = 0;
            account_ = account;
        }
        schemes_ |= schemes;
        time_ = GetTickCount64();
    }

private:
    bool holds(const Account& account) const {
        return account == account_ && GetTickCount64() - time_ < kRefusalLifetime;
    }

    Account account_;
    DWORD schemes_ = 0;
    ULONGLONG time_ = 0;
};

sys::CSafeDataHolder<Refusals>& refusals() {
    static sys::CSafeDataHolder<Refusals> instance;
    return instance;
}

} // namespace

ProxySignIn::ProxySignIn(std::wstring proxy, std::wstring user, std::wstring password)
    : account_{std::move(proxy), std::move(user), std::hash<std::wstring>()(password)},
      password_(std::move(password)),
      refused_(refusals().access([this](Refusals& known) { return known.find(account_); })) {
}

bool ProxySignIn::answerRefusal(HINTERNET request) {
    if (current_ != 0) {
        refused_ |= current_;
        refusals().access([this](Refusals& known) { known.add(account_, current_); });
        current_ = 0;
    }
    DWORD offered = 0, first = 0, target = 0;
    if (account_.user.empty() || !WinHttpQueryAuthSchemes(request, &offered, &first, &target) ||
        target != WINHTTP_AUTH_TARGET_PROXY)
        return false;
    for (const DWORD scheme : kSchemes)
        if ((offered & ~refused_ & scheme) != 0 &&
            WinHttpSetCredentials(request, WINHTTP_AUTH_TARGET_PROXY, scheme, account_.user.c_str(),
                                  password_.c_str(), nullptr)) {
            current_ = scheme;
            return true;
        }
    return false;
}

} // namespace xferlib
