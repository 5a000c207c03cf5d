#pragma once

#include <cstddef>

namespace bench {

/// \brief How often operator new was called in this program so far.
std::size_t allocations();

} // namespace bench
