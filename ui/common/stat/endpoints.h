#pragma once

namespace stats {

/// The statistics host of the deployment, scheme included, without a path.
extern const char* const kStatisticsUrl;

/// The country-lookup host of the deployment, scheme included, without a path.
extern const char* const kCountryUrl;

} // namespace stats
