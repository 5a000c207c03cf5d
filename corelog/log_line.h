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

/// What one line of the log tells.
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

/// A longer text is cut: one message must not push everything else out of a bounded file.
inline constexpr std::size_t kLongestText = 65'536; // bytes

/// \brief One line of UTF-8, ended by a line feed, with no other line break in it:
/// time, process id, thread id, level, tag, file:line, text.
std::string formatLine(const LineParts& parts);

} // namespace CoreLog
