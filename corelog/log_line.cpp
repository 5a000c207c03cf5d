#include "corelog/log_line.h"

#include "text/escape.h"
#include "text/format.h"

namespace CoreLog {

std::string formatLine(const LineParts& parts) {
    char stamp[96];
    const UtcTime& t = parts.time;
    text::formattedPrint(stamp, sizeof stamp, "%04u-%02u-%02uT%02u:%02u:%02u.%03uZ %lu %lu %u ", t.year,
                         t.month, t.day, t.hour, t.minute, t.second, t.millisecond, parts.processId,
                         parts.threadId, parts.level);
    const auto fileName = parts.file.substr(parts.file.find_last_of("/\\") + 1);

    std::string line = stamp;
    line += text::lineEscape(parts.tag);
    line.append(1, ' ').append(fileName).append(1, ':').append(std::to_string(parts.line)).append(1, ' ');
    if (parts.text.size() <= kLongestText) {
        line += text::lineEscape(parts.text);
    } else {
        std::size_t end = kLongestText;
        while (end > 0 && (static_cast<unsigned char>(parts.text[end]) & 0xC0) == 0x80)
            --end; // does not split a character
        line += text::lineEscape(parts.text.substr(0, end)) + " [cut]";
    }
    line += '\n';
    return line;
}

} // namespace CoreLog
