#pragma once

#include <string>

namespace shell {

/// \brief Whether two paths lead to the same folder, through links and under whatever names. False when one
/// of them cannot be opened, and where the file system does not number its folders.
bool isSameFolder(const std::wstring& first, const std::wstring& second);

/// \brief Whether listing a path lists the root of a drive or of a share.
bool isRoot(const std::wstring& path);

/// \brief Whether a folder is another one or holds it, by their full names or by what those lead to. The
/// other one need not be there.
bool holds(const std::wstring& folder, const std::wstring& other);

} // namespace shell
