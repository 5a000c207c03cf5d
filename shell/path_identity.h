#pragma once

#include <string>

namespace shell {

/// \brief Whether two paths lead to the same file or folder, through links and under whatever names. False when one
/// of them cannot be opened.
bool isSameFile(const std::wstring& first, const std::wstring& second);

/// \brief Whether a path, made full, is the root of a drive or of a share. True for one that cannot be made full.
bool isRoot(const std::wstring& path);

/// \brief Whether a folder is another one or holds it, by their full names or by those of what they lead to.
bool holds(const std::wstring& folder, const std::wstring& other);

} // namespace shell
