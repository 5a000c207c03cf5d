#pragma once

#include <cstdint>
#include <string_view>

namespace stats {

/// Number of an application of the suite.
using ApplicationId = std::uint32_t;

/// The suite as a whole instead of one application.
inline constexpr ApplicationId kWholeSuite = 0xFFFFFFFF;

/// \brief Returns the name of the application's data folder; empty for the suite and unknown applications.
std::string_view folderKey(ApplicationId application);

/// \brief Returns the name that users see; empty if the application has none.
/// \param plain For applications with a yearly edition: true returns the plain name, false the edition's.
///              Ignored for all others.
std::string_view displayName(ApplicationId application, bool plain);

/// \brief Returns the application's code in statistics; "unkn" if it has none.
std::string_view shortCode(ApplicationId application);

} // namespace stats
