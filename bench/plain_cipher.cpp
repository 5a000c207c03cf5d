#include "bench/plain_cipher.h"

#include "fs/cipher.h"

#include <utility>

namespace bench {
namespace {

using Byte = unsigned char;

Byte keyByte(std::size_t position) {
    return static_cast<Byte>(fs::kSwitchPhrase[position % fs::kSwitchPhrase.size()]);
}

void mask(Byte* data, std::size_t size) {
    for (std::size_t i = 2; i < size; ++i)
        data[i] = static_cast<Byte>(data[i] ^ (i % 2 != 0 ? keyByte(i) : 0xFF));
}

} // namespace

void plainEncipher(Byte* data, std::size_t size) {
    data[0] = static_cast<Byte>(~data[0]);
    for (std::size_t i = 1; i < size; ++i)
        data[i] = static_cast<Byte>(data[i] ^ data[i - 1] ^ keyByte(i - 1));
    for (std::size_t i = 8; i < size; ++i) {
        data[i] = static_cast<Byte>(data[i] ^ data[i - 7]);
        std::swap(data[i - 2], data[i - 7]);
    }
    mask(data, size);
}

void plainDecipher(Byte* data, std::size_t size) {
    mask(data, size);
    for (std::size_t i = size; i-- > 8;) {
        data[i] = static_cast<Byte>(data[i] ^ data[i - 2]);
        std::swap(data[i - 2], data[i - 7]);
    }
    for (std::size_t i = size - 1; i > 0; --i)
        data[i] = static_cast<Byte>(data[i] ^ data[i - 1] ^ keyByte(i - 1));
    data[0] = static_cast<Byte>(~data[0]);
}

} // namespace bench
