#include "shell/extension_scan.h"

#include <algorithm>
#include <cwctype>

namespace shell {
namespace {

constexpr std::size_t kKeySize = kExtensionId.size() + 2;

char keyAt(std::size_t i) {
    return i == 0 || i == kKeySize - 1 ? '"' : kExtensionId[i - 1];
}

} // namespace

bool ExtensionSearch::take(std::string_view piece) {
    while (!isFound_ && !piece.empty()) {
        if (matched_ == 0)
            piece.remove_prefix(std::min(piece.find('"'), piece.size()));
        if (!piece.empty()) {
            isFound_ = takeOne(piece.front());
            piece.remove_prefix(1);
        }
    }
    return isFound_;
}

/// \return True if this character is the brace that opens the object.
bool ExtensionSearch::takeOne(char c) {
    if (matched_ == kKeySize) {
        if (std::iswspace(static_cast<unsigned char>(c)) != 0)
            return false;
        if (c == ':' && !hasColon_) {
            hasColon_ = true;
            return false;
        }
        if (c == '{' && hasColon_)
            return true;
        matched_ = 0; // this character may still begin a key
    }
    // A quote restarts the match: the identifier contains none.
    matched_ = c == keyAt(matched_) ? matched_ + 1 : c == '"' ? 1 : 0;
    hasColon_ = false;
    return false;
}

} // namespace shell
