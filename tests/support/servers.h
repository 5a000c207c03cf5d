#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>

namespace testing_support {

/// \brief Returns the port of a server of servers.py.
inline std::uint16_t port(const std::string& server) {
    return static_cast<std::uint16_t>(std::atoi(std::getenv(("PORT_" + server).c_str())));
}

/// \brief A request as a server received it. `text` is the body of the server's reply to "/echo".
struct Received {
    std::string method = "GET", host = "127.0.0.1:" + std::to_string(port("PLAIN")), path = "/echo";
    std::string contentType = "None", body{}; ///< "None" if the request has no such header.
    std::string text() const { return method + " " + host + " " + path + " " + contentType + " " + body; }
};

} // namespace testing_support
