#include "fs/cipher.h"

#include <algorithm>
#include <string>
#include <utility>

namespace fs {
namespace {

using Byte = unsigned char;

static_assert(kSwitchPhrase.size() == 48);

// The mixing pass works on each byte together with two that lie before it.
constexpr std::size_t kFar = 7;
constexpr std::size_t kNear = 2;
constexpr std::size_t kFirstMixed = 8;
constexpr std::size_t kFirstMasked = 2;

std::string prepareKey(std::string_view phrase) {
    std::string key(std::max(kSwitchPhrase.size(), phrase.size()), '\0');
    std::ranges::copy(kSwitchPhrase, key.begin());
    if (phrase.empty() || phrase == kSwitchPhrase)
        return key;
    const std::size_t advance = kSwitchPhrase.size() / phrase.size() >= 2 ? 2 : 1;
    for (std::size_t i = 0; i < phrase.size(); ++i)
        key[i * advance] = static_cast<char>(key[i * advance] ^ phrase[i]);
    return key;
}

Byte keyByte(std::string_view key, std::size_t position) {
    return static_cast<Byte>(key[position]);
}

void chain(Byte* data, std::size_t size, std::string_view key) {
    data[0] = static_cast<Byte>(~data[0]);
    for (std::size_t i = 1, j = 0; i < size; ++i) {
        data[i] = static_cast<Byte>(data[i] ^ data[i - 1] ^ keyByte(key, j));
        if (++j == key.size())
            j = 0;
    }
}

void unchain(Byte* data, std::size_t size, std::string_view key) {
    std::size_t j = (size - 1) % key.size();
    for (std::size_t i = size - 1; i > 0; --i) {
        j = (j == 0 ? key.size() : j) - 1;
        data[i] = static_cast<Byte>(data[i] ^ data[i - 1] ^ keyByte(key, j));
    }
    data[0] = static_cast<Byte>(~data[0]);
}

void mix(Byte* data, std::size_t size) {
    for (std::size_t i = kFirstMixed; i < size; ++i) {
        data[i] = static_cast<Byte>(data[i] ^ data[i - kFar]);
        std::swap(data[i - kNear], data[i - kFar]);
    }
}

void unmix(Byte* data, std::size_t size) {
    for (std::size_t i = size; i-- > kFirstMixed;) {
        data[i] = static_cast<Byte>(data[i] ^ data[i - kNear]);
        std::swap(data[i - kNear], data[i - kFar]);
    }
}

// Its own inverse, since no byte depends on another.
void mask(Byte* data, std::size_t size, std::string_view key) {
    std::size_t j = kFirstMasked % key.size();
    for (std::size_t i = kFirstMasked; i < size; ++i) {
        const bool isKeyed = ((i ^ key.size()) & 1) != 0;
        data[i] = static_cast<Byte>(data[i] ^ (isKeyed ? keyByte(key, j) : 0xFF));
        if (++j == key.size())
            j = 0;
    }
}

bool includes(CipherMode mode, CipherMode pass) {
    return mode == CipherMode::all || mode == pass;
}

} // namespace

void encipher(unsigned char* data, std::size_t size, std::string_view phrase, CipherMode mode) {
    if (data == nullptr || size == 0)
        return;
    const std::string key = prepareKey(phrase);
    if (includes(mode, CipherMode::chain))
        chain(data, size, key);
    if (includes(mode, CipherMode::mix))
        mix(data, size);
    if (includes(mode, CipherMode::mask))
        mask(data, size, key);
}

void decipher(unsigned char* data, std::size_t size, std::string_view phrase, CipherMode mode) {
    if (data == nullptr || size == 0)
        return;
    const std::string key = prepareKey(phrase);
    if (includes(mode, CipherMode::mask))
        mask(data, size, key);
    if (includes(mode, CipherMode::mix))
        unmix(data, size);
    if (includes(mode, CipherMode::chain))
        unchain(data, size, key);
}

} // namespace fs
