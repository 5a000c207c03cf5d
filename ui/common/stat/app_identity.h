#pragma once

#include <cstdint>
#include <string_view>

namespace stats {

/// Number of one of the suite's applications.
using ApplicationId = std::uint32_t;

/// Stands for no particular application, the suite as a whole.
inline constexpr ApplicationId kWholeSuite = 0xFFFFFFFF;

/// \brief The name of the application's data folder; empty for an unknown application and for the suite.
std::string_view folderKey(ApplicationId application);

/// \brief The name that users see; empty when the application has none.
/// \param plain For the few applications with a yearly edition: true gives the plain name, false the name of
/// the edition. Ignored for all others.
std::string_view displayName(ApplicationId application, bool plain);

/// \brief The application's code in statistics, "unkn" when it has none.
std::string_view shortCode(ApplicationId application);

} // namespace stats
