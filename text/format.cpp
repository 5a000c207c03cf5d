#include "text/format.h"

#include <cstdarg>
#include <cstdio>

namespace text {

int formattedPrint(char* buffer, std::size_t capacity, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const int count = std::vsnprintf(buffer, capacity, format, arguments);
    va_end(arguments);
    return count >= 0 && static_cast<std::size_t>(count) < capacity ? count : -1;
}

} // namespace text
