#pragma once

#include <cstdint>
#include <string>

namespace host {

/// \brief A Windows error number with its name and what to do about it, such as "5 (ERROR_ACCESS_DENIED):
/// ...".
std::wstring describeError(std::uint32_t number);

} // namespace host
