#include "zelsyshelper.h"

#include "fs/config.h"
#include "fs/file_io.h"
#include "modules/zelsyshelper/src/export_frame.h"
#include "text/utf16.h"

#include <cstdlib>

namespace {

constexpr std::int32_t kIntegerAbsent = -1000;

} // namespace

uint64_t getValueFromPropertyFile(const wchar_t* file, const char* key, wchar_t* buffer, uint32_t capacity) {
    return frame::run(std::uint32_t{fs::kStatusFileFailed}, [&] {
        fs::CConfig config(frame::owned(file));
        const std::string name = frame::owned(key);
        if (const int status = config.load())
            return status;
        const auto value = config.findValue(name);
        if (!value)
            return fs::kStatusNoKey;
        frame::copyOut(text::utf8ToUtf16(*value), buffer, capacity);
        return 0;
    });
}

uint64_t setValueInPropertyFile(const wchar_t* file, const char* key, const wchar_t* value) {
    return frame::run(false, [&] {
        fs::CConfig config(frame::owned(file));
        const std::string name = frame::owned(key);
        const std::wstring wide = frame::owned(value);
        const int status = config.load();
        config.setValue(name, text::utf16ToUtf8(wide));
        config.save(); // whether it worked is not part of the result
        return status == 0;
    });
}

uint64_t getIntFromPropertyFile(const wchar_t* file, const char* key) {
    return frame::run(std::int32_t{fs::kStatusFileFailed}, [&] {
        fs::CConfig config(frame::owned(file));
        const std::string name = frame::owned(key);
        if (const int status = config.load())
            return status;
        const auto value = config.findValue(name);
        return value ? std::atoi(value->c_str()) : kIntegerAbsent;
    });
}

uint64_t isValueFromPropertyFileNotEmpty(const wchar_t* file, const char* key) {
    return frame::run(false, [&] {
        fs::CConfig config(frame::owned(file));
        const std::string name = frame::owned(key);
        return config.load() == 0 && !config.getValue(name, {}).empty();
    });
}
