#pragma once

#include "corelog/logger.h"

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

namespace CoreLog {

/// \brief One message of the log: text and integers are streamed into it, and it is written as one line when
/// the object is destroyed.
///
/// Below the logger's threshold, and with a null logger, nothing is formatted.
class CLogMsgMultibyte {
public:
    /// \param logger May be null. Must outlive the message.
    /// \param tag Who logs; null counts as empty.
    /// \param file The source file; null counts as empty. Only its last part is written.
    CLogMsgMultibyte(ILogger* logger, std::uint32_t level, const char* tag, const char* file,
                     std::uint32_t line);
    CLogMsgMultibyte(const CLogMsgMultibyte&) = delete;
    CLogMsgMultibyte& operator=(const CLogMsgMultibyte&) = delete;
    ~CLogMsgMultibyte();

    CLogMsgMultibyte& operator<<(std::string_view text) {
        if (logger_ != nullptr)
            text_ += text;
        return *this;
    }

    CLogMsgMultibyte& operator<<(char character) { return *this << std::string_view(&character, 1); }

    CLogMsgMultibyte& operator<<(std::integral auto number) {
        return logger_ != nullptr ? *this << std::string_view(std::to_string(number)) : *this;
    }

private:
    ILogger* logger_; // null: the message is not wanted
    std::uint32_t level_;
    const char* tag_;
    const char* file_;
    std::uint32_t line_;
    std::string text_;
};

} // namespace CoreLog
