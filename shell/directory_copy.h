#pragma once

#include <cstdint>
#include <string>

namespace shell {

/// \brief Deletes the destination with everything in it, then copies the tree of the source to its place.
///
/// Continues after a failure. Counts failures and prints one line for each to standard output. The process
/// has one counter, so concurrent calls mix their counts. The destination itself is created only as the
/// parent of a subfolder: files of the source that are listed before its first subfolder are not copied.
///
/// A folder that cannot be listed counts as empty, even the source. Paths are truncated to 512 characters at
/// each level. Changes nothing if a path is blank, or if the destination is the root of a drive or share, is
/// the source or contains the source. Deleting never follows links to folders. Copying follows a link, unless
/// its target is an ancestor of the link or contains its copy.
/// \return The number of failures.
std::uint32_t replaceDirectory(const std::wstring& source, const std::wstring& destination);

} // namespace shell
