#include "property_value.h"

namespace host {

std::wstring propertyValue(const Library& library, const std::wstring& file, const std::string& key,
                           bool isEnciphered) {
    const auto read = [&](wchar_t* buffer, std::uint32_t capacity) {
        return static_cast<std::uint32_t>(
            library.readProperty(file.c_str(), key.c_str(), buffer, capacity, isEnciphered));
    };
    std::wstring buffer(read(nullptr, 0) + 2, L'\0');
    read(buffer.data(), static_cast<std::uint32_t>(buffer.size()));
    buffer.resize(buffer.find(L'\0'));
    return buffer;
}

} // namespace host
