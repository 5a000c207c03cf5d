#pragma once

#include <array>
#include <cstdint>

namespace shell {

/// \brief Identifies a column. Has the layout of PROPERTYKEY.
struct TColumnKey {
    std::uint32_t format1;
    std::uint16_t format2, format3;
    std::array<std::uint8_t, 8> format4;
    std::uint32_t property;

    bool operator==(const TColumnKey&) const = default;
};

/// \brief A view mode of a folder.
struct TView {
    std::uint32_t code;    ///< A ZELSYSHELPER_VIEW_ constant.
    std::uint32_t mode;    ///< A FOLDERVIEWMODE of the shell.
    std::int32_t iconSize; ///< In pixels; -1: the shell's default.
};

/// \brief Returns the view of a code; null for an unknown code.
const TView* viewOfCode(std::uint32_t code);

/// \brief Returns the code of a view mode; 0 for an unknown mode.
std::uint32_t codeOfViewMode(std::uint32_t mode);

/// \brief Returns the key of a column code; null for an unknown code and for 0.
const TColumnKey* keyOfColumn(std::uint32_t code);

/// \brief Returns the code of a column; 0 for an unknown column.
std::uint32_t codeOfColumn(const TColumnKey& key);

} // namespace shell
