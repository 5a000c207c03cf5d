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

Word load(const void* from) {
    Word word;
    std::memcpy(&word, from, kWord);
    return word;
}

void store(void* to, Word word) {
    std::memcpy(to, &word, kWord);
}

/// Bytes that repeat without end, read a word at a time from any place.
class Stream {
public:
    /// \param period At least a word long.
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

/// Joins bytes with those of a stream from `position` on. `to` may be `from`, or lie before it.
void join(Byte* to, const Byte* from, std::size_t size, const Stream& stream, std::size_t position) {
    std::size_t i = 0;
    for (std::size_t place = stream.placeOf(position); i + kWord <= size;
         i += kWord, place = stream.next(place))
        store(to + i, load(from + i) ^ stream.at(place));
    for (; i < size; ++i)
        to[i] = static_cast<Byte>(from[i] ^ stream.byteAt(position + i));
}

/// The same from the end to the beginning, for a `to` that lies behind `from`.
void joinBackwards(Byte* to, const Byte* from, std::size_t size, const Stream& stream, std::size_t position) {
    std::size_t place = stream.placeOf(position + size);
    for (; size >= kWord; size -= kWord) {
        place = stream.previous(place);
        store(to + size - kWord, load(from + size - kWord) ^ stream.at(place));
    }
    while (size-- > 0)
        to[size] = static_cast<Byte>(from[size] ^ stream.byteAt(position + size));
}

// Each byte is joined with the key and with the one before it, after that has been joined itself.
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

// What the mixing comes to, as a whole: the byte that is joined and handed on is the same each five steps. So the
// bytes from the sixth on move down by five, joined with the second to the sixth in turn, and those five end up in
// the gap before the last two bytes.
constexpr std::size_t kShift = kFar - kNear;
constexpr std::size_t kSmallestMixed = kFirstMixed + kShift; // below it the five do not all get to the end

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

// Its own inverse, since no byte depends on another.
void mask(Byte* data, std::size_t size, const std::string& key) {
    std::string period =
        key + key; // even, so that it says for each place whether the key or all bits turn it
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
