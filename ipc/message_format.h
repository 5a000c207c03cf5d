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

/// \brief Whether a text fits a message.
inline bool fitsMessage(std::string_view payload) {
    return payload.size() + kHeaderSize <= kLargestMessage;
}

/// \brief Writes a message to `out`, which has room for \ref kLargestMessage bytes.
/// \param payload Must fit.
/// \return The length of the message.
std::size_t writeMessage(std::uint32_t senderProcessId, std::string_view payload, char* out);

/// \brief The text of a message: everything behind the header, whatever the header says. Empty when there is
/// nothing behind it.
std::string_view payloadOf(std::string_view message);

/// \brief The sender of a message of at least 9 bytes.
///
/// Each byte is added with its sign, so that one of 0x80 or more borrows from the byte above it. Peers know
/// the number in this form.
std::uint32_t senderOf(std::string_view message);

/// @}

} // namespace ipc
