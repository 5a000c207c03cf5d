#pragma once

#include <string>

namespace bench {

/// \name Downloads through other Windows APIs
/// Each function returns true if it has written the whole file.
/// @{
bool downloadByUrlmon(const std::wstring& url, const std::wstring& path);
bool downloadByWinInet(const std::wstring& url, const std::wstring& path, unsigned long chunk);
/// @}

} // namespace bench
