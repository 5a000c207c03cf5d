#pragma once

#include "corelog/logger.h"

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

namespace CoreLog {

/// \brief Collects text and integers, and writes them as one log line in its destructor.
///
/// Formats nothing if the level exceeds the logger's threshold or the logger is null. A message belongs to
/// one thread.
class CLogMsgMultibyte {
public:
    /// \param logger May be null. Must outlive the message.
    /// \param level See `ILogger::threshold`.
    /// \param tag The component that logs; null counts as empty. Must outlive the message.
    /// \param file Path of the source file; null counts as empty. Only the file name is written. Must outlive
    /// the message.
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
    ILogger* logger_; // null: the message is discarded
    std::uint32_t level_;
    const char* tag_;
    const char* file_;
    std::uint32_t line_;
    std::string text_;
};

} // namespace CoreLog
