#pragma once

#include <string>

namespace shell {

/// \brief Returns true if two paths lead to the same folder, also through links. False if one of them cannot
/// be opened, or if the file system assigns no file index.
bool isSameFolder(const std::wstring& first, const std::wstring& second);

/// \brief Returns true if a path leads to the root of a drive or share, also through links. "C:" counts as a
/// root.
bool isRoot(const std::wstring& path);

/// \brief Returns true if `folder` is `other` or contains it, by their full names or after following links.
/// `other` need not exist.
bool holds(const std::wstring& folder, const std::wstring& other);

} // namespace shell
