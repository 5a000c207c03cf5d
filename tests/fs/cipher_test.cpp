#include "fs/cipher.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

struct Vector {
    const char* phrase;
    int mode;
    std::vector<std::uint64_t> digests; ///< For plain texts of these lengths: 0 to 64, then the large ones.
};

const Vector kVectors[] = {
#include "fs/cipher_vectors.inc"
};
constexpr std::size_t kLarge[] = {1000, 4099, 65536};

std::string plain(std::size_t length) {
    std::string text(length, '\0');
    std::uint32_t value = 1;
    for (char& c : text)
        c = static_cast<char>((value = value * 1103515245u + 12345u) >> 16);
    return text;
}

std::uint64_t digest(const std::string& text) {
    std::uint64_t value = 0xCBF29CE484222325u;
    for (const char c : text)
        value = (value ^ static_cast<unsigned char>(c)) * 0x100000001B3u;
    return value;
}

TEST(Cipher, AgreesWithAnotherImplementationAndComesBack) {
    for (const auto& [phrase, mode, digests] : kVectors) {
        ASSERT_EQ(digests.size(), 65 + std::size(kLarge));
        for (std::size_t i = 0; i < digests.size(); ++i) {
            const std::string original = plain(i < 65 ? i : kLarge[i - 65]);
            std::string text = original;
            auto* const data = reinterpret_cast<unsigned char*>(text.data());
            fs::encipher(data, text.size(), phrase, fs::CipherMode(mode));
            EXPECT_EQ(digest(text), digests[i]) << phrase << " " << mode << " " << original.size();
            fs::decipher(data, text.size(), phrase, fs::CipherMode(mode));
            EXPECT_EQ(text, original) << phrase << " " << mode;
        }
    }
    fs::encipher(nullptr, 10);
    fs::decipher(nullptr, 10);
}

} // namespace
