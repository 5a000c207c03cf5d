#pragma once

#include <string>

namespace bench {

/// \name Downloads as applications write them otherwise
/// @{
bool downloadByUrlmon(const std::wstring& url, const std::wstring& path);
bool downloadByWinInet(const std::wstring& url, const std::wstring& path, unsigned long chunk);
/// @}

} // namespace bench
