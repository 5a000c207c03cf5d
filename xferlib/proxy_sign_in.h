#pragma once

#include <string>

#include <windows.h>

#include <winhttp.h>

namespace xferlib {

/// Signs one transfer in to its proxy, by the strongest scheme that the proxy offers and accepts.
///
/// A domain counts each wrong password against the account. A transfer therefore never repeats a refused
/// scheme. The process remembers the last refused account for a minute: a transfer that starts in that time
/// with the same proxy, user and password skips the refused schemes. Transfers that are already running may
/// repeat them.
class ProxySignIn {
public:
    /// Identifies proxy, user and password. Outlives the transfer, so it holds a hash of the password.
    struct Account {
        std::wstring proxy{}, user{};
        std::size_t passwordHash = 0;

        bool operator==(const Account&) const = default;
    };

    /// \param proxy "host:port".
    /// \param user Empty: no credentials, every 407 is final.
    ProxySignIn(std::wstring proxy, std::wstring user, std::wstring password);

    /// Starts a request. A 407 to its first send is no refusal of the scheme of the previous request.
    void beginRequest() { current_ = 0; }

    /// \brief Sets the credentials of a request that the proxy has answered with 407, for its next send.
    ///
    /// Call it after the status has been queried: WinHttpQueryAuthSchemes needs the parsed headers.
    /// \return False without a user, if WinHttpQueryAuthSchemes fails or names a host as the target, or if
    ///         WinHttpSetCredentials accepts none of the offered schemes that the proxy has not refused.
    bool answerRefusal(HINTERNET request);

private:
    Account account_;
    std::wstring password_;
    DWORD refused_;     ///< WINHTTP_AUTH_SCHEME_... bits.
    DWORD current_ = 0; ///< The scheme of the last send; 0 when it carried no credentials.
};

} // namespace xferlib
