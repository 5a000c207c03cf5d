#pragma once

#include <string>
#include <string_view>

namespace bench {

/// \brief Queries the attributes of a file, then reads all of it with as few calls as Windows allows.
/// \return False if a call fails.
bool readWhole(const std::wstring& path, std::string& bytes);

/// \brief Creates or truncates a file and writes it with one call of WriteFile.
/// \return False if a call fails.
bool writeWhole(const std::wstring& path, std::string_view bytes);

} // namespace bench
