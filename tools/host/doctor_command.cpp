#include "commands.h"
#include "console.h"
#include "errors.h"
#include "library_info.h"
#include "property_value.h"
#include "proxy_check.h"
#include "service_state.h"
#include "win32/known_folders.h"
#include "win32/owner.h"
#include "win32/path.h"

namespace host {
namespace {

constexpr std::int32_t kDefaultLevel = 3, kDefaultProxyPort = 80;

/// Prints one finding after the other, and remembers the bad ones.
class Report {
public:
    void good(std::string_view name, const std::wstring& text, const Facts& facts = {}) {
        add(name, Colour::good, L"ok", text, facts);
    }
    void doubtful(std::string_view name, const std::wstring& text, const Facts& facts = {}) {
        add(name, Colour::doubtful, L"look", text, facts);
    }
    void bad(std::string_view name, const std::wstring& text, const Facts& facts = {}) {
        add(name, Colour::bad, L"bad", text, facts);
        faults_ += (faults_.empty() ? L"" : L", ") + std::wstring(name.begin(), name.end());
    }

    /// Returns the exit code.
    int finish() const { return faults_.empty() ? int{kDone} : fail(L"Bad findings: " + faults_); }

private:
    void add(std::string_view name, Colour colour, std::wstring mark, const std::wstring& text,
             const Facts& facts) {
        std::wstring title(name.begin(), name.end());
        title.resize(16, L' ');
        finding(name, mark, text, facts);
        mark.resize(5, L' ');
        print(coloured(colour, mark) + title + text);
    }

    std::wstring faults_; ///< The names of the bad findings.
};

void checkLibrary(const Library& library, Report& report) {
    const LibraryInfo info = libraryInfo(library.module);
    if (info.version.empty())
        report.doubtful("library", info.path + L" has no version resource");
    else
        report.good("library", info.path + L", version " + info.version,
                    {{"path", info.path}, {"version", info.version}});
    const auto checkUrl = [&](std::string_view name, const std::wstring& url) {
        if (url.empty())
            report.doubtful(name, L"not stated by this library, which is older than this program");
        else
            report.good(name, url + L", set by the build of the library", {{"url", url}});
    };
    checkUrl("statisticsHost", info.statisticsUrl);
    checkUrl("countryHost", info.countryUrl);
}

void checkWritable(std::string_view name, const std::wstring& folder, Report& report) {
    const Facts facts{{"path", folder}};
    if (GetFileAttributesW(folder.c_str()) == INVALID_FILE_ATTRIBUTES &&
        GetLastError() == ERROR_FILE_NOT_FOUND)
        return report.doubtful(name, folder + L" does not exist yet; the first event creates it", facts);
    const std::wstring probe = folder + L"\\doctor-" + std::to_wstring(GetCurrentProcessId()) + L".tmp";
    const win32::KernelHandle file(CreateFileW(probe.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                               FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE,
                                               nullptr));
    if (file)
        return report.good(name, folder + L" is writable", facts);
    const DWORD error = GetLastError();
    report.bad(name, folder + L" is not writable: " + described(windowsError(error)),
               {{"path", folder}, {"errorNumber", error}});
}

void checkLogLevel(const Library& library, const std::wstring& logs, Report& report) {
    const std::wstring path = logs + L"\\Quenlith.cfg";
    const auto status = library.getValueFromPropertyFile(path.c_str(), "Level", nullptr, 0);
    if (status == ZELSYSHELPER_FILE_FAILED)
        return report.bad("logLevel", path + L" cannot be read; check its permissions");
    const std::wstring value = propertyValue(library, path, "Level", false);
    wchar_t* end = nullptr;
    const std::int32_t number = wcstol(value.c_str(), &end, 10);
    if (end == value.c_str())
        return report.good("logLevel",
                           std::to_wstring(kDefaultLevel) +
                               L" (default): failures, except events without a reply",
                           {{"level", kDefaultLevel}});
    report.good("logLevel", std::to_wstring(number) + L", set in " + path, {{"level", number}});
}

std::wstring named(const Proxy& proxy) {
    return proxy.host + L":" + std::to_wstring(proxy.port);
}

Proxy checkCommonConfig(const Library& library, const std::wstring& settings, Report& report) {
    const std::wstring path = settings + L"\\common.cfg";
    const auto read = [&](const char* key) { return propertyValue(library, path, key, false); };
    const auto status = library.getValueFromPropertyFile(path.c_str(), "ProxyType", nullptr, 0);
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
    Proxy proxy{proxyHost(read("ProxyAddress")), port != ZELSYSHELPER_NO_INT ? port : kDefaultProxyPort};
    if (const std::wstring problem = proxyProblem(proxy); !problem.empty()) {
        report.bad("commonConfig", path + L" " + problem);
        return {};
    }
    const std::wstring user = read("ProxyUser");
    const bool hasPassword = library.isValueFromPropertyFileNotEmpty(path.c_str(), "ProxyPw") != 0;
    report.good("commonConfig", path + L" names the proxy " + named(proxy) +
                                    (user.empty() ? L"" : L", user " + user) +
                                    (hasPassword ? L", password ***" : L""));
    return proxy;
}

void checkProxy(const Proxy& proxy, Report& report) {
    const std::wstring name = named(proxy);
    const Facts facts{{"host", proxy.host}, {"port", proxy.port}};
    if (proxy.host.empty())
        report.good("proxy", L"none is used");
    else if (const std::wstring fault = connectionFault(proxy); !fault.empty())
        report.bad("proxy", name + L" " + fault, facts);
    else
        report.good("proxy", name + L" answers", facts);
}

void checkService(const Library& library, Report& report) {
    std::uint8_t isInstalled = 0;
    library.isServiceInstalled(&isInstalled);
    if (isInstalled == 0)
        return report.doubtful("updateService", L"not installed");
    const ServiceState state = updateServiceState();
    if (state.error == ERROR_SUCCESS)
        report.good("updateService", std::wstring(L"installed, ") + state.text,
                    {{"serviceState", state.text}});
    else
        report.doubtful("updateService",
                        L"installed; its state cannot be queried: " + described(windowsError(state.error)),
                        {{"errorNumber", state.error}});
}

void checkMachine(const Library& library, Report& report) {
    wchar_t version[8] = L"";
    if (library.getOsVersion(version) != 0)
        report.good("windows", std::wstring(L"version ") + version, {{"version", version}});
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
    const std::wstring roaming = win32::knownFolder(win32::KnownFolder::roamingAppData, {});
    if (roaming.empty())
        report.doubtful("roamingFolder", L"cannot be found; files of the current folder take its place");
    const std::wstring settings = roaming.empty() ? L"." : win32::joinPath(roaming, win32::kBrandFolder);
    const std::wstring logs = roaming.empty() ? L"." : win32::logsFolder({});
    checkWritable("settingsFolder", settings, report);
    checkWritable("logFolder", logs, report);
    checkLogLevel(library, logs, report);
    checkProxy(checkCommonConfig(library, settings, report), report);
    checkService(library, report);
    checkMachine(library, report);
    return report.finish();
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
