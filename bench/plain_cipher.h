#pragma once

#include <cstddef>

namespace bench {

/// \brief The passes of the switch files' cipher with the built-in phrase, byte by byte as one would write
/// them down: what the library's own is compared with.
void plainEncipher(unsigned char* data, std::size_t size);
void plainDecipher(unsigned char* data, std::size_t size);

} // namespace bench
