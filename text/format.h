#pragma once

#include <cstddef>

namespace text {

#if defined(__GNUC__)
[[gnu::format(printf, 3, 4)]]
#endif
/// \brief Formats text like snprintf into a buffer of the caller.
///
/// Terminates the buffer, unless \p capacity is 0.
/// \param capacity Size of \p buffer in bytes, including the terminator.
/// \return Number of characters without the terminator; -1 if the format is invalid or the text is truncated.
int formattedPrint(char* buffer, std::size_t capacity, const char* format, ...);

} // namespace text
