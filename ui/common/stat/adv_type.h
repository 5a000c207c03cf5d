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

/// \brief The variants of a test definition: letters, each followed directly by its weight, with optional
/// white space between them, as in "A70 B30".
///
/// A weight with a leading zero is octal, 0 drops its variant, and a letter without a weight ends the
/// definition.
/// \return Empty when the definition holds anything else.
std::vector<TTestVariant> parseTestDefinition(std::string_view definition);

/// \brief The variant at a place of the line on which each variant is as long as its weight.
/// \param pick From 1 to the sum of the weights.
/// \return Its letter; 0 when the place lies behind the end.
char variantAt(const std::vector<TTestVariant>& variants, std::uint64_t pick);

/// \brief Draws one variant by weight.
///
/// Uses the generator of the C library, which the first draw of the process seeds with the time; where each
/// thread has a generator of its own, that of its thread alone. Variants behind the first RAND_MAX + 1 units
/// of weight are never drawn.
/// \return Its letter; 0 when there are no variants.
char drawVariant(const std::vector<TTestVariant>& variants);

} // namespace stats
