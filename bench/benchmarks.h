#pragma once

/// \name Benchmark families
/// Each function measures its paths and prints the results.
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

/// \name Growth
/// Each function measures how the cost of a path grows and prints the points of its charts.
/// @{
void growReading();
void growSetting();
void growEnciphered();
void growEvents();
void growTree();
void growDownload();
void growConversions();
/// @}
