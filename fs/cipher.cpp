#include "fs/cipher.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

namespace fs {
namespace {

using Byte = unsigned char;
using Word = std::uint64_t;

static_assert(kSwitchPhrase.size() == 48);
static_assert(std::endian::native == std::endian::little);

constexpr std::size_t kWord = sizeof(Word);

// Distances from a byte to the two earlier bytes that the mixing pass swaps.
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

Word load(const void* from) {
    Word word;
    std::memcpy(&word, from, kWord);
    return word;
}

void store(void* to, Word word) {
    std::memcpy(to, &word, kWord);
}

/// An endless periodic byte sequence. Reads one word at any place of the period.
class Stream {
public:
    /// \param period At least `kWord` bytes long.
    explicit Stream(std::string period) : period_(period.size()), bytes_(std::move(period)) {
        bytes_.append(bytes_, 0, kWord);
    }

    Word at(std::size_t place) const { return load(&bytes_[place]); }
    std::size_t next(std::size_t place) const {
        return place + kWord < period_ ? place + kWord : place + kWord - period_;
    }
    std::size_t previous(std::size_t place) const {
        return place < kWord ? place + period_ - kWord : place - kWord;
    }
    std::size_t placeOf(std::size_t position) const { return position % period_; }
    Byte byteAt(std::size_t position) const { return static_cast<Byte>(bytes_[placeOf(position)]); }

private:
    std::size_t period_;
    std::string bytes_;
};

/// XORs bytes with a stream, starting at `position` of the stream. The ranges may overlap if `to` does not
/// follow `from`.
void join(Byte* to, const Byte* from, std::size_t size, const Stream& stream, std::size_t position) {
    std::size_t i = 0;
    for (std::size_t place = stream.placeOf(position); i + kWord <= size;
         i += kWord, place = stream.next(place))
        store(to + i, load(from + i) ^ stream.at(place));
    for (; i < size; ++i)
        to[i] = static_cast<Byte>(from[i] ^ stream.byteAt(position + i));
}

/// XORs like `join`, but runs from the end to the beginning. The ranges may overlap if `to` does not precede
/// `from`.
void joinBackwards(Byte* to, const Byte* from, std::size_t size, const Stream& stream, std::size_t position) {
    std::size_t place = stream.placeOf(position + size);
    for (; size >= kWord; size -= kWord) {
        place = stream.previous(place);
        store(to + size - kWord, load(from + size - kWord) ^ stream.at(place));
    }
    while (size-- > 0)
        to[size] = static_cast<Byte>(from[size] ^ stream.byteAt(position + size));
}

// Inverts the first byte. XORs each later byte with a key byte and with the enciphered byte before it.
void chain(Byte* data, std::size_t size, const Stream& key) {
    data[0] = static_cast<Byte>(~data[0]);
    Byte last = data[0];
    std::size_t i = 1;
    for (std::size_t place = 0; i + kWord <= size; i += kWord, place = key.next(place)) {
        Word word = load(data + i) ^ key.at(place);
        word ^= word << 8;
        word ^= word << 16;
        word ^= word << 32;
        word ^= last * 0x0101010101010101u;
        store(data + i, word);
        last = static_cast<Byte>(word >> 56);
    }
    for (; i < size; ++i)
        data[i] = last = static_cast<Byte>(data[i] ^ last ^ key.byteAt(i - 1));
}

void unchain(Byte* data, std::size_t size, const Stream& key) {
    std::size_t i = size;
    for (std::size_t place = key.placeOf(size - 1); i > kWord; i -= kWord) {
        place = key.previous(place);
        Byte* const block = data + i - kWord;
        store(block, load(block) ^ load(block - 1) ^ key.at(place));
    }
    while (--i > 0)
        data[i] = static_cast<Byte>(data[i] ^ data[i - 1] ^ key.byteAt(i - 1));
    data[0] = static_cast<Byte>(~data[0]);
}

void mixPlainly(Byte* data, std::size_t size) {
    for (std::size_t i = kFirstMixed; i < size; ++i) {
        data[i] = static_cast<Byte>(data[i] ^ data[i - kFar]);
        std::swap(data[i - kNear], data[i - kFar]);
    }
}

void unmixPlainly(Byte* data, std::size_t size) {
    for (std::size_t i = size; i-- > kFirstMixed;) {
        data[i] = static_cast<Byte>(data[i] ^ data[i - kNear]);
        std::swap(data[i - kNear], data[i - kFar]);
    }
}

// Effect of `mixPlainly` on n bytes:
//
//   before   b[0] | b[1] ... b[5] | b[6] b[7] | b[8] ... b[n-3] | b[n-2] b[n-1]
//
//   after    b[0] | b[6] b[7] | b[8]^K ... b[n-3]^K | b[1] ... b[5], rotated | b[n-2]^K b[n-1]^K
//   index    0      1    2      3      ... n-8        n-7  ... n-3             n-2      n-1
//
//   b[i]^K   is b[i] XOR b[1 + (i - 8) % 5]
//   rotated  means that index i holds b[1 + (i - 6) % 5]
//
// Each step XORs one byte with one of b[1] to b[5], and moves the latter by five places towards the end.
constexpr std::size_t kShift = kFar - kNear;
constexpr std::size_t kSmallestMixed = kFirstMixed + kShift; // shorter data does not move all of b[1] to b[5]

Stream handedOn(const Byte* five) {
    std::string period;
    for (std::size_t i = 0; i < kWord; ++i)
        period.append(reinterpret_cast<const char*>(five), kShift);
    return Stream(period);
}

void mix(Byte* data, std::size_t size) {
    if (size < kSmallestMixed)
        return mixPlainly(data, size);
    const Stream five = handedOn(data + 1);
    data[1] = data[1 + kShift];
    data[2] = data[2 + kShift];
    const std::size_t gap = size - kFar;
    join(data + 3, data + kFirstMixed, gap - 3, five, 0);
    for (std::size_t i = gap; i < size - kNear; ++i)
        data[i] = five.byteAt(i - (kFirstMixed - kNear));
    join(data + size - kNear, data + size - kNear, kNear, five, size - kNear - kFirstMixed);
}

void unmix(Byte* data, std::size_t size) {
    if (size < kSmallestMixed)
        return unmixPlainly(data, size);
    const std::size_t gap = size - kFar;
    Byte turned[kShift];
    for (std::size_t i = gap; i < size - kNear; ++i)
        turned[(i - (kFirstMixed - kNear)) % kShift] = data[i];
    const Stream five = handedOn(turned);
    join(data + size - kNear, data + size - kNear, kNear, five, size - kNear - kFirstMixed);
    joinBackwards(data + kFirstMixed, data + 3, gap - 3, five, 0);
    data[2 + kShift] = data[2];
    data[1 + kShift] = data[1];
    std::memcpy(data + 1, turned, kShift);
}

// Self-inverse: XORs each byte, from the third on, with a value that depends only on key and position. Every
// second byte of the key is replaced by 0xFF. The key is doubled, because this alternation needs an even
// period.
void mask(Byte* data, std::size_t size, const std::string& key) {
    std::string period = key + key;
    for (std::size_t i = 0; i < period.size(); ++i)
        if (((i ^ key.size()) & 1) == 0)
            period[i] = '\xFF';
    if (size > kFirstMasked)
        join(data + kFirstMasked, data + kFirstMasked, size - kFirstMasked, Stream(period), kFirstMasked);
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
        chain(data, size, Stream(key));
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
        unchain(data, size, Stream(key));
}

} // namespace fs
