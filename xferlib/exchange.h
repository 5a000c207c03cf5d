#pragma once

#include "xferlib/deadline.h"
#include "xferlib/proxy_sign_in.h"
#include "xferlib/session.h"
#include "xferlib/xferlib.h"

#include <string>

namespace xferlib {

/// A final 407 fails the transfer with code 56, whether the proxy or a host has sent it.
inline constexpr std::int32_t kStatusProxyAuthentication = 407;

/// One request to one address. A Request becomes several hops if its replies redirect.
struct Hop {
    std::wstring url{};
    bool post = false;
    const std::string* body = nullptr;     ///< Null: no body.
    const std::wstring* headers = nullptr; ///< Header lines, each ended by CR LF. Null: none.
    ProxySignIn* proxy = nullptr;          ///< Not owned, not null.
    int connectTimeout = 0;                ///< Milliseconds.
    bool mustBeSecure = false;             ///< Fails with kUnsupportedScheme unless the scheme is https.
};

/// The reply to a hop.
struct HopReply {
    Response response;
    std::wstring location; ///< Location header of a redirect, not yet resolved; otherwise empty.
    bool isSecure = false; ///< The hop has used https.
};

/// \brief Sends one request and reads the reply. Reads no body if `location` is set, nor after a final 407.
/// \return `response.code` is 0 or a transport code.
HopReply exchange(const Session& session, const Hop& hop, const Deadline& deadline);

} // namespace xferlib
