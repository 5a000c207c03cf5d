#pragma once

#include "xferlib/deadline.h"
#include "xferlib/session.h"
#include "xferlib/xferlib.h"

#include <string>

namespace xferlib {

/// One request to one address: what is left of a Request when proxy and redirects are taken out of it.
struct Hop {
    std::wstring url{};
    bool post = false;
    const std::string* body = nullptr;     ///< Null: no body.
    const std::wstring* headers = nullptr; ///< Whole header lines, each ended by CR LF.
    std::wstring proxyUser{};
    std::wstring proxyPassword{};
    int connectTimeout = 0; ///< Milliseconds.
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
