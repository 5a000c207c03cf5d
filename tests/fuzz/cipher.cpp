// What is enciphered comes back, with any phrase and each mode; the cipher as one would write it down agrees.
#include "fs/cipher.h"
#include "bench/plain_cipher.h"
#include "fuzz.h"

void check(FuzzedDataProvider& input) {
    const std::string phrase = input.ConsumeRandomLengthString();
    const auto plain = input.ConsumeRemainingBytes<unsigned char>();
    for (const int mode : {0, 1, 2, 3, 4}) {
        auto bytes = plain;
        fs::encipher(bytes.data(), bytes.size(), phrase, fs::CipherMode(mode));
        fs::decipher(bytes.data(), bytes.size(), phrase, fs::CipherMode(mode));
        require(bytes == plain);
    }
    if (!plain.empty()) {
        auto bytes = plain, expected = plain;
        fs::encipher(bytes.data(), bytes.size());
        bench::plainEncipher(expected.data(), expected.size());
        require(bytes == expected);
    }
}
