#pragma once

#include <cstddef>
#include <string_view>

namespace fs {

/// The pass phrase of the suite's switch files.
inline constexpr std::string_view kSwitchPhrase = "q w %R zu %@  pLL_41 K@&^  r s p;mn wxk0xAB7C91 ";

/// The passes to run. Any other value runs none.
enum class CipherMode { all = 0, chain = 1, mix = 2, mask = 3 };

/// \brief Enciphers bytes in place.
///
/// Keeps users from editing a file by hand. Gives no further protection: the key is part of the library.
/// \param data May be null; the call then does nothing.
/// \param size In bytes.
/// \param phrase XORed into the built-in phrase. An empty phrase, or the built-in one, selects the built-in
/// phrase alone.
/// \param mode One pass, or all three in the order chain, mix, mask.
void encipher(unsigned char* data, std::size_t size, std::string_view phrase = kSwitchPhrase,
              CipherMode mode = CipherMode::all);

/// \brief Reverses `encipher`. Expects the same phrase and mode.
void decipher(unsigned char* data, std::size_t size, std::string_view phrase = kSwitchPhrase,
              CipherMode mode = CipherMode::all);

} // namespace fs
