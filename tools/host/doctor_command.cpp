#include "commands.h"
#include "console.h"
#include "errors.h"
#include "library_info.h"
#include "proxy_check.h"
#include "service_state.h"
#include "win32/known_folders.h"
#include "win32/owner.h"

namespace host {
namespace {

constexpr std::int32_t kDefaultLevel = 3;

/// Prints one finding after the other, and remembers whether all are good.
class Report {
public:
    void good(std::string_view name, const std::wstring& text) { add(name, Colour::good, L"ok", text); }
    void doubtful(std::string_view name, const std::wstring& text) {
        add(name, Colour::doubtful, L"look", text);
    }
    void bad(std::string_view name, const std::wstring& text) {
        add(name, Colour::bad, L"bad", text);
        isWell_ = false;
    }

    bool isWell() const { return isWell_; }

private:
    void add(std::string_view name, Colour colour, std::wstring mark, const std::wstring& text) {
        std::wstring title(name.begin(), name.end());
        title.resize(16, L' ');
        finding(name, mark, text);
        mark.resize(5, L' ');
        print(coloured(colour, mark) + title + text);
    }

    bool isWell_ = true;
};

void checkLibrary(const Library& library, Report& report) {
    const LibraryInfo info = libraryInfo(library.module);
    if (info.version.empty())
        report.doubtful("library", info.path + L" has no version resource");
    else
        report.good("library", info.path + L", version " + info.version);
    const auto checkUrl = [&](std::string_view name, const std::wstring& url) {
        if (url.empty())
            report.doubtful(name, L"not stated by this library, which is older than this program");
        else
            report.good(name, url + L", set by the build of the library");
    };
    checkUrl("statisticsHost", info.statisticsUrl);
    checkUrl("countryHost", info.countryUrl);
}

void checkWritable(std::string_view name, const std::wstring& folder, Report& report) {
    if (GetFileAttributesW(folder.c_str()) == INVALID_FILE_ATTRIBUTES)
        return report.doubtful(name, folder + L" does not exist yet; the first event creates it");
    const std::wstring probe = folder + L"\\doctor-" + std::to_wstring(GetCurrentProcessId()) + L".tmp";
    const win32::KernelHandle file(CreateFileW(probe.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                               FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE,
                                               nullptr));
    if (file)
        return report.good(name, folder + L" is writable");
    report.bad(name, folder + L" is not writable: " + described(windowsError(GetLastError())));
}

void checkLogLevel(const Library& library, const std::wstring& logs, Report& report) {
    const std::wstring path = logs + L"\\Quenlith.cfg";
    wchar_t value[16] = L"";
    const auto status = library.getValueFromPropertyFile(path.c_str(), "Level", value, 16);
    if (status == ZELSYSHELPER_FILE_FAILED)
        return report.bad("logLevel", path + L" cannot be read; check its permissions");
    wchar_t* end = value;
    const long number = wcstol(value, &end, 10);
    if (end == value)
        return report.good("logLevel", std::to_wstring(kDefaultLevel) + L" (default): failures only");
    report.good("logLevel", std::to_wstring(number) + L", set in " + path);
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
        report.good("commonConfig", path + L" does not exist; the defaults apply");
        return {};
    }
    if (status == ZELSYSHELPER_FILE_FAILED) {
        report.bad("commonConfig", path + L" cannot be read; check its permissions");
        return {};
    }
    const auto type = static_cast<std::int32_t>(library.getIntFromPropertyFile(path.c_str(), "ProxyType"));
    if (type == 0 || type == ZELSYSHELPER_NO_INT) {
        report.good("commonConfig", path + L" names no proxy");
        return {};
    }
    const auto port = static_cast<std::int32_t>(library.getIntFromPropertyFile(path.c_str(), "ProxyPort"));
    Proxy proxy{proxyHost(read("ProxyAddress")), std::to_wstring(port != ZELSYSHELPER_NO_INT ? port : 80)};
    if (const std::wstring problem = proxyProblem(proxy.host); !problem.empty()) {
        report.bad("commonConfig", path + L" " + problem);
        return {};
    }
    const std::wstring user = read("ProxyUser");
    const bool hasPassword = library.isValueFromPropertyFileNotEmpty(path.c_str(), "ProxyPw") != 0;
    report.good("commonConfig", path + L" names the proxy " + proxy.host + L":" + proxy.port +
                                    (user.empty() ? L"" : L", user " + user) +
                                    (hasPassword ? L", password ***" : L""));
    return proxy;
}

void checkProxy(const Proxy& proxy, Report& report) {
    const std::wstring name = proxy.host + L":" + proxy.port;
    if (proxy.host.empty())
        report.good("proxy", L"none is used");
    else if (const std::wstring fault = connectionFault(proxy); !fault.empty())
        report.bad("proxy", name + L" " + fault);
    else
        report.good("proxy", name + L" answers");
}

void checkService(const Library& library, Report& report) {
    std::uint8_t isInstalled = 0;
    library.isServiceInstalled(&isInstalled);
    if (isInstalled == 0)
        return report.doubtful("updateService", L"not installed");
    const ServiceState state = updateServiceState();
    if (state.error == ERROR_SUCCESS)
        report.good("updateService", std::wstring(L"installed, ") + state.text);
    else
        report.doubtful("updateService",
                        L"installed; its state cannot be queried: " + described(windowsError(state.error)));
}

void checkMachine(const Library& library, Report& report) {
    wchar_t version[8] = L"";
    if (library.getOsVersion(version) != 0)
        report.good("windows", std::wstring(L"version ") + version);
    else
        report.doubtful("windows", L"neither 10 nor 11");
    const auto extension = library.zelChromeExtWasDeleted();
    if (extension == 0)
        report.good("extension", L"is listed by the browser");
    else
        report.doubtful("extension", extension == ZELSYSHELPER_EXTENSION_ABSENT
                                         ? L"is not listed by the browser"
                                         : L"the user's local data folder cannot be found");
}

int run(const Library& library, const Parameters& parameters) {
    if (!parameters.positional.empty())
        return wrongUsage(kDoctorCommand, L"doctor takes no arguments");
    Report report;
    checkLibrary(library, report);
    const std::wstring settings =
        win32::joinPath(win32::knownFolder(win32::KnownFolder::roamingAppData, {}), win32::kBrandFolder);
    const std::wstring logs = win32::logsFolder({});
    checkWritable("settingsFolder", settings, report);
    checkWritable("logFolder", logs, report);
    checkLogLevel(library, logs, report);
    checkProxy(checkCommonConfig(library, settings, report), report);
    checkService(library, report);
    checkMachine(library, report);
    return report.isWell() ? kDone : kFailed;
}

} // namespace

const Command kDoctorCommand{
    L"doctor",
    L"doctor                        Checks what support asks for first: the library, its version and hosts, "
    L"folders,\n"
    L"                              the log's level, \"common.cfg\", proxy, service, Windows, extension.",
    {},
    run,
};

} // namespace host
