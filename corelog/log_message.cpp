#include "corelog/log_message.h"

#include "corelog/log_line.h"

#include <windows.h>

namespace CoreLog {

CLogMsgMultibyte::CLogMsgMultibyte(ILogger* logger, std::uint32_t level, const char* tag, const char* file,
                                   std::uint32_t line)
    : logger_(logger), level_(level), tag_(tag != nullptr ? tag : ""), file_(file != nullptr ? file : ""),
      line_(line) {
    if (logger_ != nullptr && logger_->threshold() < static_cast<std::int64_t>(level))
        logger_ = nullptr;
}

CLogMsgMultibyte::~CLogMsgMultibyte() {
    if (logger_ == nullptr)
        return;
    SYSTEMTIME now;
    GetSystemTime(&now);
    try {
        logger_->write(formatLine({
            .time = {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds},
            .processId = GetCurrentProcessId(),
            .threadId = GetCurrentThreadId(),
            .level = level_,
            .tag = tag_,
            .file = file_,
            .line = line_,
            .text = text_,
        }));
    } catch (...) {
        // std::bad_alloc loses the line. The operation of the caller continues.
    }
}

} // namespace CoreLog
