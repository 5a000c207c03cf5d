#include "ipc/message_format.h"

#include "ipc/channel_names.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

TEST(MessageFormat, HeaderAndPayload) {
    char out[64];
    const std::size_t length = ipc::writeMessage(0x01020384, "text", out);
    EXPECT_EQ(std::string(out, length), "\x01\0\0\0\x0D\x01\x02\x03\x84text"s);
    EXPECT_EQ(ipc::payloadOf({out, length}), "text");
    EXPECT_EQ(ipc::payloadOf({out, 9}), "");
    EXPECT_EQ(ipc::payloadOf({out, 3}), "");
    EXPECT_EQ(ipc::senderOf({out, length}), 0x01020284u)
        << "a byte of 0x80 or more borrows from the one above";
    EXPECT_EQ(ipc::senderOf("\x01\0\0\0\x09\xFF\xFF\xFF\xFF"s), 0xFEFEFEFFu);
    EXPECT_TRUE(ipc::fitsMessage(std::string(65526, 'x')));
    EXPECT_FALSE(ipc::fitsMessage(std::string(65527, 'x')));
}

TEST(ChannelNames, FromApplicationNames) {
    EXPECT_EQ(ipc::instanceMutexName("My app-1"), L"Global\\QUENLITH_MY APP-1");
    EXPECT_EQ(ipc::instanceMutexName(""), L"Global\\QUENLITH_");
    EXPECT_EQ(ipc::pipeBaseName("aB"), L"3C9E21B4-7A5D-4F08-9B6C-E1D24F7A0C95_aB");
    const std::wstring wide = ipc::pipeBaseName("\xC3");
    EXPECT_EQ(wide.back(), static_cast<wchar_t>(-61)) << "no code page";
}

} // namespace
