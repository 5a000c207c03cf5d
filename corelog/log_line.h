#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace CoreLog {

/// A moment in UTC.
struct UtcTime {
    unsigned year, month, day, hour, minute, second, millisecond;
};

/// The fields of one log line.
struct LineParts {
    UtcTime time;
    unsigned long processId;
    unsigned long threadId;
    std::uint32_t level;
    std::string_view tag;
    std::string_view file;
    std::uint32_t line;
    std::string_view text;
};

/// Longer texts are truncated: one message must not displace all others from the bounded file.
inline constexpr std::size_t kLongestText = 65'536; // bytes

/// \brief Returns one line of UTF-8 with a line feed at its end and no other line break.
///
/// Its fields: time, process id, thread id, level, tag, file:line, text. A truncated text ends with " [cut]".
std::string formatLine(const LineParts& parts);

} // namespace CoreLog
