#pragma once

#include <cstdint>
#include <string>

namespace shell {

/// \brief Deletes a folder with everything in it, then copies another folder's tree to its place.
///
/// Failures are counted and told, a line each, on standard output; nothing stops the work. The count is one
/// for the whole process: calls at the same moment mix theirs. The root of the destination is made only as
/// the parent of a subfolder, so files of the source's root that are listed before its first subfolder fail.
///
/// A folder that cannot be listed counts as empty, even the source. Paths are cut at 512 characters at each
/// level. Nothing is touched where a path is blank, the destination is the root of a drive or share, or it
/// holds the source. Links to folders are never followed for deleting; for copying they count as the folder
/// that they show, unless that folder is an ancestor of the link or holds the copies.
/// \return The number of failures.
std::uint32_t replaceDirectory(const std::wstring& source, const std::wstring& destination);

} // namespace shell
