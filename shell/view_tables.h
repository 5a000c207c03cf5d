#pragma once

#include <array>
#include <cstdint>

namespace shell {

/// \brief The name of a column, in the layout of Windows' PROPERTYKEY.
struct TColumnKey {
    std::uint32_t format1;
    std::uint16_t format2, format3;
    std::array<std::uint8_t, 8> format4;
    std::uint32_t property;

    bool operator==(const TColumnKey&) const = default;
};

/// \brief A way to show a folder.
struct TView {
    std::uint32_t code;    ///< The library's number for it.
    std::uint32_t mode;    ///< The shell's number for it.
    std::int32_t iconSize; ///< In pixels; -1 leaves it to the shell.
};

/// \return Null for a code that is in no table.
const TView* viewOfCode(std::uint32_t code);

/// \return 0 for an unknown mode.
std::uint32_t codeOfViewMode(std::uint32_t mode);

/// \return Null for a code that is in no table; 0 is in none.
const TColumnKey* keyOfColumn(std::uint32_t code);

/// \return 0 for an unknown column.
std::uint32_t codeOfColumn(const TColumnKey& key);

} // namespace shell
