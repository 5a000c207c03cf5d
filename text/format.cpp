#include "text/format.h"

#include <cstdarg>
#include <cstdio>

namespace text {

int formattedPrint(char* buffer, std::size_t capacity, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
#ifdef _WIN32
    // _vsnprintf of the C runtime: MinGW's std::vsnprintf links a complete formatter into the DLL.
    const int count = _vsnprintf(buffer, capacity, format, arguments);
    if (capacity > 0)
        buffer[capacity - 1] = '\0';
#else
    const int count = std::vsnprintf(buffer, capacity, format, arguments);
#endif
    va_end(arguments);
    return count >= 0 && static_cast<std::size_t>(count) < capacity ? count : -1;
}

} // namespace text
