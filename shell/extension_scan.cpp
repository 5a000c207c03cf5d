#include "shell/extension_scan.h"

#include <cwctype>
#include <string>

namespace shell {
namespace {

/// Whether an object begins here, behind one colon and white space. Moves behind what was looked at.
bool isObjectAhead(std::string_view text, std::size_t& at) {
    bool hasColon = false;
    for (; at < text.size(); ++at) {
        const auto c = static_cast<unsigned char>(text[at]);
        if (std::iswspace(c) != 0)
            continue;
        if (c != ':' || hasColon)
            return c == '{' && hasColon;
        hasColon = true;
    }
    return false;
}

} // namespace

bool listsExtension(std::string_view preferences) {
    const std::string key = "\"" + std::string(kExtensionId) + "\"";
    for (std::size_t at = 0; (at = preferences.find(key, at)) != preferences.npos;) {
        at += key.size();
        if (isObjectAhead(preferences, at))
            return true;
    }
    return false;
}

} // namespace shell
