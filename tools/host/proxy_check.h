#pragma once

#include <cstdint>
#include <string>

namespace host {

/// The proxy that "common.cfg" names.
struct Proxy {
    std::wstring host{};
    std::int32_t port = 0;
};

/// Returns the host in a proxy's address, which may have the form "http://host/".
std::wstring proxyHost(const std::wstring& address);

/// Returns why events cannot use the proxy; empty if they can.
std::wstring proxyProblem(const Proxy& proxy);

/// \brief Connects to the proxy, with 3 s for each of its addresses.
/// \return Empty if one accepts the connection, otherwise the fault.
std::wstring connectionFault(const Proxy& proxy);

} // namespace host
