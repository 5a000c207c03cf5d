#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace ipc {

/// \name Messages
/// A message is a header of 9 bytes (version, total length, process id of the sender; big-endian) and a text.
/// @{

inline constexpr std::size_t kLargestMessage = 65535;
inline constexpr std::size_t kHeaderSize = 9;

/// \brief Returns true if a text fits into a message.
inline bool fitsMessage(std::string_view payload) {
    return payload.size() + kHeaderSize <= kLargestMessage;
}

/// \brief Writes a message to `out`, which must have room for the header and the payload.
/// \param payload Must fit, see \ref fitsMessage.
/// \return The length of the message.
std::size_t writeMessage(std::uint32_t senderProcessId, std::string_view payload, char* out);

/// \brief Returns the text of a message: all bytes after the header. Ignores the length in the header.
std::string_view payloadOf(std::string_view message);

/// \brief Returns the sender's process id from a message of at least 9 bytes.
///
/// Adds each byte as a signed number: a byte of 0x80 or more borrows from the byte above it. Peers depend on
/// this form of the number.
std::uint32_t senderOf(std::string_view message);

/// @}

} // namespace ipc
