#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace xferlib {

/// One HTTP or HTTPS request.
struct Request {
    std::string url{};                  ///< Absolute, with or without a port.
    std::string body{};                 ///< Sent unchanged with a POST, ignored with a GET.
    std::vector<std::string> headers{}; ///< One header line each, without a line end.
    std::string proxyHost{};            ///< Name or address, optionally after "http://"; empty: no proxy.
    std::int32_t proxyPort = 80;
    std::string proxyUser{}; ///< Empty: no credentials are sent.
    std::string proxyPassword{};
    std::int32_t attempts = 1;               ///< Maximum number of attempts; 1: no retry.
    std::int32_t timeoutSeconds = 15;        ///< Of the whole call; 0 or less: 15.
    std::int32_t connectTimeoutSeconds = 10; ///< Of each connection; 0 or less: `timeoutSeconds`.
    std::int32_t redirectLimit = 10;         ///< Maximum number of redirects.
    bool post = false;                       ///< POST instead of GET.
};

/// The outcome of a request.
struct Response {
    std::int32_t code = 0;   ///< 0 when the exchange completed, else a transport code (transfer_code.h).
    std::int32_t status = 0; ///< The HTTP status of the last hop; 0 without a reply to it.
    std::string body{};
};

/// The largest accepted reply body; a larger one fails with code 63.
inline constexpr std::size_t kLargestBody = 1'048'576; // bytes

/// \brief Checks that this system supports WinHTTP. Idempotent.
/// \return 0, or the transport code 2 if it does not.
std::int32_t init();

/// \brief Sends one request on the calling thread and waits for its reply.
///
/// Tries the authentication schemes that the proxy offers, the strongest first, until the proxy accepts one.
/// Skips the refused schemes of the last refused account (proxy, user and password) until a minute after its
/// last refusal. If none is left, the transfer fails with code 56. Hosts never receive the proxy's
/// credentials: a 407 of a host fails with code 56 too.
///
/// Verifies server certificates. Follows redirects, but never from https to http. After 303 a POST continues
/// as GET; other redirects keep its method and body. Keeps connections open for the next request through the
/// same proxy. Thread-safe. Blocks at most for the time-out, and one second more for closing the request.
Response fetch(const Request& request);

} // namespace xferlib
