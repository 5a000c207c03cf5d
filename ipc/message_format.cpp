#include "ipc/message_format.h"

#include <algorithm>

namespace ipc {
namespace {

constexpr char kVersion = 1;
constexpr std::size_t kSenderAt = 5;

char* writeBigEndian(std::uint32_t number, char* out) {
    for (const int shift : {24, 16, 8, 0})
        *out++ = static_cast<char>(number >> shift);
    return out;
}

} // namespace

std::size_t writeMessage(std::uint32_t senderProcessId, std::string_view payload, char* out) {
    const std::size_t length = kHeaderSize + payload.size();
    char* at = out;
    *at++ = kVersion;
    at = writeBigEndian(static_cast<std::uint32_t>(length), at);
    at = writeBigEndian(senderProcessId, at);
    std::ranges::copy(payload, at);
    return length;
}

std::string_view payloadOf(std::string_view message) {
    return message.substr(std::min(message.size(), kHeaderSize));
}

std::uint32_t senderOf(std::string_view message) {
    std::uint32_t sender = 0;
    for (const char byte : message.substr(kSenderAt, 4))
        sender = (sender << 8) + static_cast<std::uint32_t>(static_cast<signed char>(byte));
    return sender;
}

} // namespace ipc
