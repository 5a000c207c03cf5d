#pragma once

#include <string>

namespace host {

/// The proxy that "common.cfg" names.
struct Proxy {
    std::wstring host, port;
};

/// Returns the host in a proxy's address, which may have the form "http://host/".
std::wstring proxyHost(const std::wstring& address);

/// Returns why events cannot use the proxy host; empty if they can.
std::wstring proxyProblem(const std::wstring& host);

/// \brief Connects to the proxy, with 3 s for each of its addresses.
/// \return Empty if one accepts the connection, otherwise the fault.
std::wstring connectionFault(const Proxy& proxy);

} // namespace host
