#include "commands.h"
#include "console.h"
#include "errors.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include <winver.h>

#include <shlobj.h>

namespace host {
namespace {

constexpr int kConnectSeconds = 3;

/// Tells one finding after the other, and remembers whether all was well.
class Report {
public:
    void good(std::string_view name, const std::wstring& text) { tell(name, Colour::good, L"ok", text); }
    void doubtful(std::string_view name, const std::wstring& text) {
        tell(name, Colour::doubtful, L"look", text);
    }
    void bad(std::string_view name, const std::wstring& text) {
        tell(name, Colour::bad, L"bad", text);
        isWell_ = false;
    }

    bool isWell() const { return isWell_; }

private:
    void tell(std::string_view name, Colour colour, std::wstring mark, const std::wstring& text) {
        std::wstring title(name.begin(), name.end());
        title.resize(16, L' ');
        field(name, mark + L": " + text);
        mark.resize(5, L' ');
        print(coloured(colour, mark) + title + text);
    }

    bool isWell_ = true;
};

void checkLibrary(const Library& library, Report& report) {
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(library.module, path.data(), static_cast<DWORD>(path.size())));
    std::string block(GetFileVersionInfoSizeW(path.c_str(), nullptr), '\0');
    VS_FIXEDFILEINFO* info = nullptr;
    UINT size = 0;
    if (block.empty() ||
        !GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(block.size()), block.data()) ||
        !VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&info), &size))
        return report.doubtful("library", path + L" tells no version");
    const auto part = [](DWORD number) { return std::to_wstring(number); };
    report.good("library", path + L", version " + part(HIWORD(info->dwFileVersionMS)) + L"." +
                               part(LOWORD(info->dwFileVersionMS)) + L"." +
                               part(HIWORD(info->dwFileVersionLS)));
}

std::wstring knownFolder(REFKNOWNFOLDERID id) {
    PWSTR found = nullptr;
    std::wstring folder =
        SUCCEEDED(SHGetKnownFolderPath(id, 0, nullptr, &found)) ? std::wstring(found) : std::wstring();
    CoTaskMemFree(found);
    return folder;
}

void checkWritable(std::string_view name, const std::wstring& folder, Report& report) {
    if (GetFileAttributesW(folder.c_str()) == INVALID_FILE_ATTRIBUTES)
        return report.doubtful(name, folder + L" is not there yet; the first event makes it");
    const std::wstring probe = folder + L"\\doctor-" + std::to_wstring(GetCurrentProcessId()) + L".tmp";
    const HANDLE file = CreateFileW(probe.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return report.bad(name, folder + L" cannot be written: error " + describeError(GetLastError()));
    CloseHandle(file);
    report.good(name, folder + L" can be written");
}

/// The way to the internet that "common.cfg" names.
struct Proxy {
    std::wstring host, port;
};

/// The host in a proxy's address, which may be written as "http://host/".
std::wstring proxyHost(const std::wstring& address) {
    constexpr std::wstring_view kScheme = L"http://";
    if (_wcsnicmp(address.c_str(), kScheme.data(), kScheme.size()) != 0)
        return address;
    const std::wstring host = address.substr(kScheme.size());
    return host.substr(0, host.find(L'/'));
}

/// Returns why events cannot use the proxy host; empty if they can.
std::wstring proxyProblem(const std::wstring& host) {
    if (host.empty())
        return L"asks for a proxy and names none; set ProxyAddress, or ProxyType to 0";
    if (host.find(L'/') != host.npos)
        return L"has the ProxyAddress " + host +
               L", which events cannot use; only \"http://\" may precede the name";
    // Several colons are an IPv6 address.
    const auto colon = host.find(L':');
    if (colon != host.npos && colon == host.rfind(L':') && host.front() != L'[')
        return L"has the ProxyAddress " + host + L", which events cannot use; put the port into ProxyPort";
    return {};
}

Proxy checkCommonConfig(const Library& library, const std::wstring& settings, Report& report) {
    const std::wstring path = settings + L"\\common.cfg";
    wchar_t value[256];
    const auto read = [&](const char* key) {
        value[0] = L'\0';
        library.getValueFromPropertyFile(path.c_str(), key, value, 256);
        return std::wstring(value);
    };
    const auto status = library.getValueFromPropertyFile(path.c_str(), "ProxyType", value, 0);
    if (status == ZELSYSHELPER_NO_FILE) {
        report.good("common.cfg", L"is not there; the defaults hold");
        return {};
    }
    if (status == ZELSYSHELPER_FILE_FAILED) {
        report.bad("common.cfg", path + L" cannot be read; check its permissions");
        return {};
    }
    const auto type = static_cast<std::int32_t>(library.getIntFromPropertyFile(path.c_str(), "ProxyType"));
    if (type == 0 || type == ZELSYSHELPER_NO_INT) {
        report.good("common.cfg", L"names no proxy");
        return {};
    }
    const auto port = static_cast<std::int32_t>(library.getIntFromPropertyFile(path.c_str(), "ProxyPort"));
    Proxy proxy{proxyHost(read("ProxyAddress")), std::to_wstring(port != ZELSYSHELPER_NO_INT ? port : 80)};
    if (const std::wstring problem = proxyProblem(proxy.host); !problem.empty()) {
        report.bad("common.cfg", problem);
        return {};
    }
    const std::wstring user = read("ProxyUser");
    const bool hasPassword = library.isValueFromPropertyFileNotEmpty(path.c_str(), "ProxyPw") != 0;
    report.good("common.cfg", L"names the proxy " + proxy.host + L":" + proxy.port +
                                  (user.empty() ? L"" : L", user " + user) +
                                  (hasPassword ? L", password ***" : L""));
    return proxy;
}

bool connects(const ADDRINFOW& address) {
    const SOCKET socket = ::socket(address.ai_family, address.ai_socktype, address.ai_protocol);
    u_long isNonBlocking = 1;
    ioctlsocket(socket, static_cast<long>(FIONBIO), &isNonBlocking);
    // It is still under way when this returns; select() tells the outcome.
    static_cast<void>(connect(socket, address.ai_addr, static_cast<int>(address.ai_addrlen)));
    fd_set connected;
    FD_ZERO(&connected);
    FD_SET(socket, &connected);
    timeval patience{kConnectSeconds, 0};
    const bool isConnected = select(0, nullptr, &connected, nullptr, &patience) == 1;
    closesocket(socket);
    return isConnected;
}

void checkProxy(const Proxy& proxy, Report& report) {
    if (proxy.host.empty())
        return report.good("proxy", L"none is used");
    WSADATA data;
    WSAStartup(MAKEWORD(2, 2), &data);
    const ADDRINFOW wanted{.ai_flags = 0,
                           .ai_family = AF_UNSPEC,
                           .ai_socktype = SOCK_STREAM,
                           .ai_protocol = 0,
                           .ai_addrlen = 0,
                           .ai_canonname = nullptr,
                           .ai_addr = nullptr,
                           .ai_next = nullptr};
    ADDRINFOW* found = nullptr;
    const std::wstring& port = proxy.port;
    const auto anyConnects = [&] {
        for (const ADDRINFOW* address = found; address != nullptr; address = address->ai_next)
            if (connects(*address))
                return true;
        return false;
    };
    if (GetAddrInfoW(proxy.host.c_str(), port.c_str(), &wanted, &found) != 0)
        report.bad("proxy", L"the name " + proxy.host + L" is not known; check it and the network");
    else if (!anyConnects())
        report.bad("proxy", proxy.host + L":" + port + L" does not answer; check it and the firewall");
    else
        report.good("proxy", proxy.host + L":" + port + L" answers");
    if (found != nullptr)
        FreeAddrInfoW(found);
    WSACleanup();
}

void checkService(const Library& library, Report& report) {
    std::uint8_t isInstalled = 0;
    library.isServiceInstalled(&isInstalled);
    if (isInstalled == 0)
        return report.doubtful("update service", L"is not installed");
    const SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT);
    const SC_HANDLE service = OpenServiceW(manager, L"Corvane.Update.Service", SERVICE_QUERY_STATUS);
    SERVICE_STATUS status{};
    QueryServiceStatus(service, &status);
    CloseServiceHandle(service);
    CloseServiceHandle(manager);
    const wchar_t* const states[] = {L"in an unknown state", L"stopped", L"starting", L"stopping",
                                     L"running"};
    const DWORD state = status.dwCurrentState <= SERVICE_RUNNING ? status.dwCurrentState : 0;
    report.good("update service", std::wstring(L"is installed and ") + states[state]);
}

void checkMachine(const Library& library, Report& report) {
    wchar_t version[8] = L"";
    if (library.getOsVersion(version) != 0)
        report.good("Windows", std::wstring(L"version ") + version);
    else
        report.doubtful("Windows", L"neither 10 nor 11");
    const auto extension = library.zelChromeExtWasDeleted();
    if (extension == 0)
        report.good("extension", L"is listed by the browser");
    else
        report.doubtful("extension", extension == ZELSYSHELPER_EXTENSION_ABSENT
                                         ? L"is not listed by the browser"
                                         : L"the user's local data folder cannot be found");
}

int run(const Library& library, const Arguments& arguments) {
    if (!arguments.empty())
        return wrongUsage(kDoctorCommand, L"doctor takes no arguments");
    Report report;
    checkLibrary(library, report);
    const std::wstring roaming = knownFolder(FOLDERID_RoamingAppData);
    const std::wstring settings = roaming + L"\\Quenlith";
    checkWritable("settings folder", settings, report);
    checkWritable("log folder", roaming + L"\\logs", report);
    checkProxy(checkCommonConfig(library, settings, report), report);
    checkService(library, report);
    checkMachine(library, report);
    return report.isWell() ? kDone : kFailed;
}

} // namespace

const Command kDoctorCommand{
    L"doctor",
    L"doctor                        Looks at what support would ask first: the library and its version, "
    L"folders,\n"
    L"                              \"common.cfg\", proxy, service, Windows, extension.",
    run,
};

} // namespace host
