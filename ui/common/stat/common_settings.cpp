#include "ui/common/stat/common_settings.h"

#include "ui/common/stat/app_data_path.h"
#include "ui/common/stat/endpoints.h"
#include "win32/path.h"
#include "xferlib/xferlib.h"

#include <cstdlib>

namespace stats {
namespace {

constexpr char kLocationKey[] = "Location";

std::int32_t integer(const fs::CConfig& section, const char* key, const char* defaultValue) {
    return std::atoi(section.getValue(key, defaultValue).c_str());
}

std::string askCountry(const TProxySettings& proxy) {
    xferlib::init();
    const xferlib::Response reply = xferlib::fetch({
        .url = std::string(kCountryUrl) + "/?instType=country",
        .proxyHost = proxy.host,
        .proxyPort = proxy.port,
        .proxyUser = proxy.user,
        .proxyPassword = proxy.password,
        .attempts = 1,
        .timeoutSeconds = 15,
        .connectTimeoutSeconds = 15,
        .redirectLimit = 10,
        .post = true,
    });
    return reply.code == 0 ? reply.body : std::string();
}

} // namespace

fs::CConfig& commonConfig() {
    struct Common : fs::CConfig {
        Common() {
            setFilePath(
                win32::joinPath(applicationDataPath(DataPathKind::settings, kWholeSuite), L"common.cfg"));
            load(); // without the file, the defaults apply
        }
    };
    static Common instance;
    return instance;
}

TProxySettings proxySettings(const fs::CConfig& section) {
    TProxySettings proxy;
    if (integer(section, "ProxyType", "0") == 0)
        return proxy;
    proxy.host = section.getValue("ProxyAddress", {});
    proxy.port = integer(section, "ProxyPort", "80");
    proxy.user = section.getValue("ProxyUser", {});
    proxy.password = section.getValue("ProxyPw", {});
    return proxy;
}

std::string location(fs::CConfig& section) {
    std::string country = section.getValue(kLocationKey, {});
    if (country.empty()) {
        country = askCountry(proxySettings(section));
        if (!country.empty())
            section.setValue(kLocationKey, country);
    }
    return country;
}

} // namespace stats
