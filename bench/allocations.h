#pragma once

#include <cstddef>

namespace bench {

/// \brief Returns the number of calls of operator new in this program so far.
std::size_t allocations();

} // namespace bench
