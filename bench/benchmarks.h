#pragma once

/// \name The families
/// Each measures its paths and prints their rows.
/// @{
void benchCipher();
void benchText();
/// @}
