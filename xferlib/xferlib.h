#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace xferlib {

/// One HTTP or HTTPS request.
struct Request {
    std::string url{};                  ///< Absolute; a port in it is honoured.
    std::string body{};                 ///< Sent as it stands with a POST.
    std::vector<std::string> headers{}; ///< One header line each, without a line end.
    std::string proxyHost{};            ///< Name or address, also after "http://"; empty: no proxy.
    std::int32_t proxyPort = 80;
    std::string proxyUser{}; ///< Empty: the proxy wants no credentials.
    std::string proxyPassword{};
    std::int32_t attempts = 1;               ///< How often a failing exchange is tried; 1: no retry.
    std::int32_t timeoutSeconds = 15;        ///< For everything together; 0 or less: the default, 15.
    std::int32_t connectTimeoutSeconds = 10; ///< For each connection; 0 or less: as long as the whole.
    std::int32_t redirectLimit = 10;         ///< How many redirects are followed.
    bool post = false;                       ///< POST instead of GET.
};

/// What came of a request.
struct Response {
    std::int32_t code = 0;   ///< 0 when the exchange completed, else a transport code (transfer_code.h).
    std::int32_t status = 0; ///< The HTTP status; 0 while no reply has been read.
    std::string body{};
};

/// The largest reply body that is taken; a larger one is a failure with code 63.
inline constexpr std::size_t kLargestBody = 1'048'576; // bytes

/// \brief Makes sure that transfers can be made here. Harmless when repeated.
/// \return 0, or the transport code 2 when WinHTTP is not usable on this system.
std::int32_t init();

/// \brief Makes one request and waits for its reply, on the calling thread.
///
/// The proxy gets the credentials by each scheme that it offers, the strongest first, until it accepts one.
/// No scheme is tried twice. A transfer that the proxy keeps refusing fails with code 56.
///
/// Server certificates are verified. Redirects are followed, but never from https to http. After 303 a POST
/// continues as GET; other redirects keep its method and body. Connections are kept for the next request that
/// goes the same way. May be called from several threads at the same time. Blocks for at most about the
/// time-out.
Response fetch(const Request& request);

} // namespace xferlib
