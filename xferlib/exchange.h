#pragma once

#include "xferlib/deadline.h"
#include "xferlib/proxy_sign_in.h"
#include "xferlib/session.h"
#include "xferlib/xferlib.h"

#include <string>

namespace xferlib {

/// A 407 comes from the proxy, never from the host: as the last reply it is a failure (56).
inline constexpr std::int32_t kStatusProxyAuthentication = 407;

/// One request to one address: what is left of a Request when proxy and redirects are taken out of it.
struct Hop {
    std::wstring url{};
    bool post = false;
    const std::string* body = nullptr;     ///< Null: no body.
    const std::wstring* headers = nullptr; ///< Whole header lines, each ended by CR LF.
    ProxySignIn* proxy = nullptr;          ///< Not owned, not null.
    int connectTimeout = 0;                ///< Milliseconds.
};

/// The reply to a hop.
struct HopReply {
    Response response;
    std::wstring location; ///< Where to go on, as the server wrote it; empty for all but a redirect.
};

/// \brief Sends one request and reads the whole reply.
HopReply exchange(const Session& session, const Hop& hop, const Deadline& deadline);

/// \brief Whether a URL is an https one.
bool isSecure(const std::wstring& url);

} // namespace xferlib
