// A written message has the documented layout, and any bytes can be read as a message.
#include "fuzz.h"
#include "ipc/message_format.h"

#include <arpa/inet.h>

void check(FuzzedDataProvider& input) {
    const auto sender = input.ConsumeIntegral<std::uint32_t>();
    const auto padding = input.ConsumeIntegralInRange<std::size_t>(0, ipc::kLargestMessage);
    const std::string raw = input.ConsumeRemainingBytesAsString(), payload = raw + std::string(padding, 'x');
    require(ipc::payloadOf(raw) == (raw.size() > 9 ? raw.substr(9) : ""));
    const std::size_t length = payload.size() + 9;
    require(ipc::fitsMessage(payload) == (length <= 65535));
    if (length > 65535)
        return;
    std::vector<char> buffer(length); // the exact size: AddressSanitizer reports a write beyond it
    require(ipc::writeMessage(sender, payload, buffer.data()) == length);
    const std::uint32_t numbers[] = {htonl(static_cast<std::uint32_t>(length)), htonl(sender)};
    require(buffer[0] == 1 && std::memcmp(&buffer[1], numbers, 8) == 0);

    const std::string_view message(buffer.data(), length);
    require(ipc::payloadOf(message) == payload);
    std::uint32_t seen = ipc::senderOf(message);
    for (const int bit : {8, 16, 24}) // sign extension: a byte above 0x7F subtracts 1 from the next higher
        seen += (sender >> (bit - 1) & 1) << bit;
    require(seen == sender);
}
