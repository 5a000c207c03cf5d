// The cipher of the switch files.

#include "bench/benchmarks.h"
#include "bench/harness.h"
#include "bench/plain_cipher.h"
#include "fs/cipher.h"

#include <cstring>

namespace {

using Bytes = std::vector<unsigned char>;

constexpr std::size_t kSize = 1'000'000;
constexpr double kLeastRate = 400e6; // bytes per second

Bytes sample() {
    Bytes bytes(kSize);
    unsigned state = 1;
    for (unsigned char& byte : bytes) {
        state = state * 1103515245u + 12345u;
        byte = static_cast<unsigned char>(state >> 16);
    }
    return bytes;
}

void check() {
    Bytes ours = sample(), plain = sample();
    fs::encipher(ours.data(), kSize);
    bench::plainEncipher(plain.data(), kSize);
    bench::require(ours == plain, "the two ciphers differ");
    fs::decipher(ours.data(), kSize);
    bench::plainDecipher(plain.data(), kSize);
    bench::require(ours == plain && ours == sample(), "the two ciphers decipher differently");
}

void compare(const char* name, void (*ours)(unsigned char*, std::size_t),
             void (*plain)(unsigned char*, std::size_t)) {
    Bytes first = sample(), second = first, third = first, copy(kSize);
    bench::measure({.name = name,
                    .ours = {"fs",
                             [&] {
                                 ours(first.data(), kSize);
                                 return true;
                             }},
                    .limit = bench::Contender{"memcpy",
                                              [&] {
                                                  std::memcpy(copy.data(), third.data(), kSize);
                                                  bench::keep(copy.data());
                                                  return true;
                                              }},
                    .alternatives = {{"byte by byte",
                                      [&] {
                                          plain(second.data(), kSize);
                                          return true;
                                      }}},
                    .goal = {.mostToAlternative = 1.0 / 3, .mostSeconds = kSize / kLeastRate},
                    .bytes = kSize});
}

} // namespace

void benchCipher() {
    check();
    compare(
        "encipher 1 MB", [](unsigned char* data, std::size_t size) { fs::encipher(data, size); },
        bench::plainEncipher);
    compare(
        "decipher 1 MB", [](unsigned char* data, std::size_t size) { fs::decipher(data, size); },
        bench::plainDecipher);
}
