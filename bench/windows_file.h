#pragma once

#include <string>
#include <string_view>

namespace bench {

/// \brief Reads a whole file in as few calls as Windows allows, and asks for its attributes first.
bool readWhole(const std::wstring& path, std::string& bytes);

/// \brief Empties a file and writes it.
bool writeWhole(const std::wstring& path, std::string_view bytes);

} // namespace bench
