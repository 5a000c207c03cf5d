#pragma once

#include <string>
#include <string_view>

namespace win32 {

/// \brief Joins two parts of a path with one backslash. Returns the other part unchanged if one is empty.
std::wstring joinPath(std::wstring folder, std::wstring_view name);

} // namespace win32
