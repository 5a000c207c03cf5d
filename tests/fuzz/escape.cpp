// Compares the escapes with a reference that decodes each character by the standard library.
#include "text/escape.h"
#include "fuzz.h"

static std::string format(const char* form, char c) {
    char text[8];
    std::snprintf(text, sizeof text, form, static_cast<unsigned char>(c));
    return text;
}

void check(FuzzedDataProvider& input) {
    const std::string value = input.ConsumeRemainingBytesAsString();
    std::string json, line, percent;
    for (const char c : value) {
        const bool isPlain = (c > 0 && std::isalnum(c)) || std::string("-._~").find(c) < 4;
        percent += isPlain ? std::string(1, c) : format("%%%02X", c);
    }
    for (std::size_t at = 0, length; at < value.size(); at += length) {
        for (length = 1; length <= 4 && !decoded(value.substr(at, length));)
            ++length;
        std::string character = value.substr(at, length), jsonForm;
        if (length > 4) { // no valid character starts here
            length = 1;
            character = "\xEF\xBF\xBD";
        }
        const char c = character[0];
        const bool isControl = c >= 0 && std::iscntrl(c);
        if (const auto form = std::string_view("\n\r\t").find(c); form < 3)
            jsonForm = character = {'\\', "nrt"[form]};
        else if (c == '"' || c == '\\')
            jsonForm = "\\" + character;
        else
            jsonForm = isControl || c == '&' ? format("\\u%04X", c) : character;
        json += jsonForm;
        line += isControl && character.size() == 1 ? format("\\x%02X", c) : character;
    }
    require(text::percentEncode(value) == percent);
    require(text::jsonEscape(value) == json);
    require(text::lineEscape(value) == line);
}
