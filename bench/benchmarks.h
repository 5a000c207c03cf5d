#pragma once

/// \name Benchmark families
/// Each function measures its paths and prints their rows.
/// @{
void benchFiles();
void benchCipher();
void benchText();
void benchEventBody();
void benchEvents();
void benchDownload();
void benchTree();
void benchRaise();
void benchCounts();
/// @}
