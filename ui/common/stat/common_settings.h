#pragma once

#include "fs/config.h"

#include <cstdint>
#include <string>

namespace stats {

/// The way out to the internet that the user has set.
struct TProxySettings {
    std::string host; ///< Empty: no proxy.
    std::int32_t port = 80;
    std::string user;
    std::string password;
};

/// \brief The suite's common settings file "common.cfg", read at the first call and kept in memory from then
/// on.
fs::CConfig& commonConfig();

/// \brief The proxy that `section` names; none when its type is 0.
TProxySettings proxySettings(const fs::CConfig& section);

/// \brief The user's country code.
///
/// When `section` does not hold it, the country-lookup host is asked, through the proxy that `section` names.
/// A reply is kept in `section`, in memory only; without one the result is empty and the next call asks
/// again. Blocks for up to 16 seconds then.
std::string location(fs::CConfig& section);

} // namespace stats
