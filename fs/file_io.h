#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace fs {

inline constexpr int kStatusNoFile = 100002;      ///< no path, or no such file
inline constexpr int kStatusFileFailed = 100004;  ///< a file could not be read or written
inline constexpr int kStatusEmptyStream = 100007; ///< the runtime opened a file and gave no stream

/// \brief Whether a configuration file is there to be read.
///
/// A plain directory is no file. One that carries any further attribute (read-only, hidden, not indexed)
/// counts as a file whose reading then fails.
bool fileExists(const std::wstring& path);

/// \brief Reads a whole file.
/// \param[out] contents The bytes of the file; unspecified when the call fails.
/// \return 0, an error number of the C runtime, or \ref kStatusEmptyStream.
int readFile(const std::wstring& path, std::string& contents);

/// \brief Reads a whole file in pieces, which are gone when `take` returns.
/// \return As `readFile`; pieces may have been taken before a failure.
int readPieces(const std::wstring& path, const std::function<void(std::string_view)>& take);

/// \brief Replaces the contents of a file, which is made when missing.
///
/// Written in place; others may have the file open for reading and writing meanwhile. When writing fails half
/// way, the file holds the part that was written.
/// \return 0 or \ref kStatusFileFailed.
int writeFile(const std::wstring& path, std::string_view contents);

} // namespace fs
