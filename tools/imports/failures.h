#pragma once

#include "tools/imports/import_hooks.h"

#include <cstddef>

namespace imports {

/// \brief Returns how a function of Windows or of the C runtime fails when the system is short of resources.
///
/// An unlisted function of Windows returns 0 and sets ERROR_NOT_ENOUGH_MEMORY.
/// \return Nullopt for functions that fail only for wrong arguments, and for unlisted ones of the C runtime.
std::optional<Failure> plausibleFailure(const std::string& library, const std::string& function);

/// \brief Returns heap functions whose allocations fail by \ref Hooks::failAt. They record each block until
/// it is freed. Thread-safe.
std::vector<Hooks::Substitute> countedHeap();

/// \brief Returns the number of recorded blocks and forgets them.
std::size_t takeLeftBlocks();

/// \brief Returns the total size of the recorded blocks, in bytes.
std::size_t leftBytes();

} // namespace imports
