#pragma once

#include "commands.h"

#include <string>

namespace host {

/// \brief Reads a value of any length from a property or switch file.
/// \param key The key, as UTF-8.
/// \return Empty also if the key or the file is missing, and if the value is not valid UTF-8.
std::wstring propertyValue(const Library& library, const std::wstring& file, const std::string& key,
                           bool isEnciphered);

} // namespace host
