#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace stats {

/// One variant of a split test.
struct TTestVariant {
    char letter;
    std::uint64_t weight; ///< Never 0.
};

/// \brief Parses a test definition: letters, each followed directly by its decimal weight, with optional
/// white space between the pairs, as in "A70 B30".
///
/// A weight with a leading zero is octal. The weight 0 drops its variant. A letter without a weight ends the
/// definition.
/// \return The variants; empty if the definition contains anything else.
std::vector<TTestVariant> parseTestDefinition(std::string_view definition);

/// \brief Returns the letter of the variant that owns a unit of weight.
///
///     "A2 B3"    pick    1 2 3 4 5
///                letter  A A B B B
///
/// \param pick From 1 to the sum of the weights.
/// \return The letter; 0 if `pick` exceeds the sum.
char variantAt(const std::vector<TTestVariant>& variants, std::uint64_t pick);

/// \brief Draws one variant by weight.
///
/// Uses rand(). The first draw of the process seeds it with the time. If the C runtime has one generator per
/// thread, the generators of other threads stay unseeded. Units of weight after the first RAND_MAX + 1 are
/// never drawn.
/// \return The letter; 0 without variants.
char drawVariant(const std::vector<TTestVariant>& variants);

} // namespace stats
