#pragma once

#include <cstddef>
#include <string_view>

namespace fs {

/// The pass phrase of the suite's switch files.
inline constexpr std::string_view kSwitchPhrase = "q w %R zu %@  pLL_41 K@&^  r s p;mn wxk0xAB7C91 ";

/// Which passes run over the data. Numbers other than these run none.
enum class CipherMode { all = 0, chain = 1, mix = 2, mask = 3 };

/// \brief Enciphers bytes in place.
///
/// It keeps users from editing a file by hand and is no protection beyond that: the key is in the library.
/// \param data May be null; nothing happens then.
/// \param phrase Mixed into the built-in phrase; empty, or the built-in phrase itself, for that alone.
/// \param mode A single pass, or all three in their order.
void encipher(unsigned char* data, std::size_t size, std::string_view phrase = kSwitchPhrase,
              CipherMode mode = CipherMode::all);

/// \brief Undoes `encipher` with the same phrase and mode.
void decipher(unsigned char* data, std::size_t size, std::string_view phrase = kSwitchPhrase,
              CipherMode mode = CipherMode::all);

} // namespace fs
