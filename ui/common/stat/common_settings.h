#pragma once

#include "fs/config.h"

#include <cstdint>
#include <string>

namespace stats {

/// The proxy that the user has configured.
struct TProxySettings {
    std::string host; ///< Empty: no proxy.
    std::int32_t port = 80;
    std::string user;
    std::string password;
};

/// \brief Returns the suite's common settings, "common.cfg". Reads the file at the first call only.
fs::CConfig& commonConfig();

/// \brief Returns the proxy that `section` names; none if ProxyType is 0 or missing.
TProxySettings proxySettings(const fs::CConfig& section);

/// \brief Returns the user's country code.
///
/// If `section` does not contain it, queries the country-lookup host through the proxy of `section`, which
/// blocks for up to 16 seconds. Stores the reply in `section`, in memory only, whatever its HTTP status.
/// \return Empty if the transfer fails or the reply is empty. The next call repeats it.
std::string location(fs::CConfig& section);

} // namespace stats
