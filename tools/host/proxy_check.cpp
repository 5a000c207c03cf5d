#include "proxy_check.h"

#include "win32/owner.h"

#include <winsock2.h>
#include <ws2tcpip.h>

namespace host {
namespace {

constexpr int kConnectSeconds = 3;
constexpr std::int32_t kHighestPort = 65535;

struct SocketTraits {
    using Type = SOCKET;
    static Type empty() { return INVALID_SOCKET; }
    static bool isValid(Type value) { return value != INVALID_SOCKET; }
    static void release(Type value) { closesocket(value); }
};

struct AddressesTraits : win32::NullableTraits<ADDRINFOW*> {
    static void release(ADDRINFOW* value) { FreeAddrInfoW(value); }
};

class Winsock {
public:
    Winsock() { WSAStartup(MAKEWORD(2, 2), &data_); }
    Winsock(const Winsock&) = delete;
    Winsock& operator=(const Winsock&) = delete;
    ~Winsock() { WSACleanup(); }

private:
    WSADATA data_{};
};

bool connects(const ADDRINFOW& address) {
    const win32::Owner<SocketTraits> socket(
        ::socket(address.ai_family, address.ai_socktype, address.ai_protocol));
    u_long isNonBlocking = 1;
    if (!socket || ioctlsocket(socket.get(), static_cast<long>(FIONBIO), &isNonBlocking) != 0)
        return false;
    // Fails with WSAEWOULDBLOCK; select() returns the outcome.
    static_cast<void>(connect(socket.get(), address.ai_addr, static_cast<int>(address.ai_addrlen)));
    fd_set connected;
    FD_ZERO(&connected);
    FD_SET(socket.get(), &connected);
    timeval patience{kConnectSeconds, 0};
    return select(0, nullptr, &connected, nullptr, &patience) == 1;
}

} // namespace

std::wstring proxyHost(const std::wstring& address) {
    constexpr std::wstring_view kScheme = L"http://";
    if (_wcsnicmp(address.c_str(), kScheme.data(), kScheme.size()) != 0)
        return address;
    const std::wstring host = address.substr(kScheme.size());
    return host.substr(0, host.find(L'/'));
}

std::wstring proxyProblem(const Proxy& proxy) {
    const std::wstring& host = proxy.host;
    if (host.empty())
        return L"asks for a proxy and names none; set ProxyAddress, or ProxyType to 0";
    if (host.find(L'/') != host.npos)
        return L"has the ProxyAddress " + host +
               L", which events cannot use; only \"http://\" may precede the name";
    // Several colons are an IPv6 address.
    const auto colon = host.find(L':');
    const bool hasPort = host.front() == L'[' ? host.back() != L']' : colon == host.rfind(L':');
    if (colon != host.npos && hasPort)
        return L"has the ProxyAddress " + host + L", which events cannot use; put the port into ProxyPort";
    if (proxy.port < 1 || proxy.port > kHighestPort)
        return L"has a ProxyPort that events cannot use; set a number from 1 to 65535";
    return {};
}

std::wstring connectionFault(const Proxy& proxy) {
    const Winsock winsock;
    ADDRINFOW hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    win32::Owner<AddressesTraits> found;
    // GetAddrInfoW expects an IPv6 address without brackets.
    const std::wstring host =
        proxy.host.front() == L'[' ? proxy.host.substr(1, proxy.host.size() - 2) : proxy.host;
    if (GetAddrInfoW(host.c_str(), std::to_wstring(proxy.port).c_str(), &hints, found.receive()) != 0)
        return L"cannot be resolved; check the name and the network";
    for (const ADDRINFOW* address = found.get(); address != nullptr; address = address->ai_next)
        if (connects(*address))
            return {};
    return L"does not answer; check it and the firewall";
}

} // namespace host
