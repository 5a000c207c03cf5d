// Compares each mode, for any phrase, with a bytewise reference. Deciphering must restore the data.
#include "fs/cipher.h"
#include "fuzz.h"

using Bytes = std::vector<unsigned char>;

static void encipherPlainly(Bytes& data, const std::string& phrase, int mode) {
    Bytes key(fs::kSwitchPhrase.begin(), fs::kSwitchPhrase.end());
    key.resize(std::max(key.size(), phrase.size()));
    for (std::size_t i = 0; phrase != fs::kSwitchPhrase && i < phrase.size(); ++i)
        key[phrase.size() <= 24 ? 2 * i : i] ^= static_cast<unsigned char>(phrase[i]);
    if (mode == 0 || mode == 1)
        for (std::size_t i = 0; i < data.size(); ++i)
            data[i] ^= i == 0 ? 0xFF : data[i - 1] ^ key[(i - 1) % key.size()];
    if (mode == 0 || mode == 2)
        for (std::size_t i = 8; i < data.size(); ++i) {
            data[i] ^= data[i - 7];
            std::swap(data[i - 2], data[i - 7]);
        }
    if (mode == 0 || mode == 3)
        for (std::size_t i = 2; i < data.size(); ++i)
            data[i] ^= (i + key.size()) % 2 != 0 ? key[i % key.size()] : 0xFF;
}

void check(FuzzedDataProvider& input) {
    const std::string phrase = input.ConsumeRandomLengthString();
    const Bytes plain = input.ConsumeRemainingBytes<unsigned char>();
    for (const int mode : {0, 1, 2, 3, 4}) {
        Bytes bytes = plain, expected = plain;
        encipherPlainly(expected, phrase, mode);
        fs::encipher(bytes.data(), bytes.size(), phrase, fs::CipherMode(mode));
        require(bytes == expected);
        fs::decipher(bytes.data(), bytes.size(), phrase, fs::CipherMode(mode));
        require(bytes == plain);
    }
    fs::encipher(nullptr, plain.size());
    fs::decipher(nullptr, plain.size());
}
