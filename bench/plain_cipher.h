#pragma once

#include <cstddef>

namespace bench {

/// \brief Runs the passes of the switch-file cipher with the built-in phrase, byte by byte in the simplest
/// form.
///
/// The library's cipher must return the same bytes, and the benchmark compares its speed with this. The data
/// must not be empty.
void plainEncipher(unsigned char* data, std::size_t size);
void plainDecipher(unsigned char* data, std::size_t size);

} // namespace bench
