// What is escaped decodes to what went in, or stands on one line.
#include "text/escape.h"
#include "fuzz.h"

static std::string readJson(const std::string& in) {
    std::string out;
    for (std::size_t at = 0; at < in.size(); ++at) {
        require(static_cast<unsigned char>(in[at]) >= 0x20 && in[at] != '"');
        if (in[at] != '\\') {
            out += in[at];
        } else if (in.at(++at) == 'u') {
            require(at + 4 < in.size() && in.find_first_not_of("0123456789ABCDEF", at + 1) > at + 4);
            out += static_cast<char>(std::stoi(in.substr(at + 1, 4), nullptr, 16));
            at += 4;
        } else {
            out += std::string_view("\"\\/\b\f\n\r\t").at(std::string_view("\"\\/bfnrt").find(in[at]));
        }
    }
    return out;
}

void check(FuzzedDataProvider& input) {
    std::string value = input.ConsumeRemainingBytesAsString(), percent;
    for (const char c : value) {
        char hex[4];
        std::snprintf(hex, sizeof hex, "%%%02X", static_cast<unsigned char>(c));
        percent += (c > 0 && std::isalnum(c)) || std::string("-._~").find(c) < 4 ? std::string(1, c) : hex;
    }
    require(text::percentEncode(value) == percent);
    const std::string line = text::lineEscape(value);
    require(decoded(line) &&
            std::none_of(line.begin(), line.end(), [](char c) { return c >= 0 && std::iscntrl(c); }));

    std::string json = readJson(text::jsonEscape(value));
    require(decoded(json).has_value());
    if (!decoded(value)) // what is not valid was replaced, everything else is still there
        for (std::string* text : {&json, &value})
            std::erase_if(*text, [](char c) { return c < 0; });
    require(json == value);
}
