#include "zelsyshelper.h"

#include "fs/config.h"
#include "fs/file_io.h"
#include "modules/zelsyshelper/src/export_frame.h"
#include "text/utf16.h"

#include <cstdlib>
#include <optional>

namespace {

constexpr std::int32_t kIntegerAbsent = -1000;

} // namespace

uint64_t getValueFromPropertyFile(const wchar_t* file, const char* key, wchar_t* buffer, uint32_t capacity) {
    return frame::run(std::uint32_t{fs::kStatusFileFailed}, [&] {
        std::optional<std::string> value;
        if (const int status = fs::readValue(frame::owned(file), frame::owned(key), value))
            return status;
        if (!value)
            return fs::kStatusNoKey;
        frame::copyOut(text::utf8ToUtf16(*value), buffer, capacity);
        return 0;
    });
}

uint64_t setValueInPropertyFile(const wchar_t* file, const char* key, const wchar_t* value) {
    return frame::run(false, [&] {
        fs::CConfig config(frame::owned(file));
        config.setValue(frame::owned(key), text::utf16ToUtf8(frame::owned(value)));
        bool wasRead = false;
        config.save(wasRead); // the result does not report a failed write
        return wasRead;
    });
}

int64_t getIntFromPropertyFile(const wchar_t* file, const char* key) {
    return static_cast<std::int64_t>(frame::run(std::int32_t{fs::kStatusFileFailed}, [&] {
        std::optional<std::string> value;
        if (const int status = fs::readValue(frame::owned(file), frame::owned(key), value))
            return status;
        return value ? std::atoi(value->c_str()) : kIntegerAbsent;
    }));
}

uint64_t isValueFromPropertyFileNotEmpty(const wchar_t* file, const char* key) {
    return frame::run(false, [&] {
        std::optional<std::string> value;
        return fs::readValue(frame::owned(file), frame::owned(key), value) == 0 && value && !value->empty();
    });
}
