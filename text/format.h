#pragma once

#include <cstddef>

namespace text {

#if defined(__GNUC__)
[[gnu::format(printf, 3, 4)]]
#endif
/// \brief Prints into a caller's buffer in the manner of the C library.
/// \param capacity Size of \p buffer in bytes, the terminator included.
/// \return The number of characters written without the terminator; -1 when the format is not valid or the
/// text does not fit, in which case as much as fits stands in the buffer. The buffer is always terminated,
/// unless \p capacity is 0.
int formattedPrint(char* buffer, std::size_t capacity, const char* format, ...);

} // namespace text
