#pragma once

#include "tools/imports/import_hooks.h"

#include <cstddef>

namespace imports {

/// \brief How a call of Windows or of the C runtime fails when the system is short of resources; nothing for calls that
/// fail for wrong arguments only. A function that is not known here fails by zero, and tells ERROR_NOT_ENOUGH_MEMORY.
std::optional<Failure> plausibleFailure(const std::string& library, const std::string& function);

/// \brief The heap functions that let allocations fail by \ref Hooks::failAt, and keep account of the blocks that were
/// asked for since the hooks were laid and not given back. Any thread.
std::vector<Hooks::Substitute> countedHeap();

/// \return The number of those blocks; they do not count any more afterwards.
std::size_t takeLeftBlocks();

/// \brief Returns the size of those blocks, in bytes.
std::size_t leftBytes();

} // namespace imports
