#include "ipc/channel_names.h"

#include <gtest/gtest.h>

namespace {

TEST(ChannelNames, FromApplicationNames) {
    EXPECT_EQ(ipc::instanceMutexName("My app-1"), L"Global\\QUENLITH_MY APP-1");
    EXPECT_EQ(ipc::instanceMutexName(""), L"Global\\QUENLITH_");
    EXPECT_EQ(ipc::pipeBaseName("aB"), L"3C9E21B4-7A5D-4F08-9B6C-E1D24F7A0C95_aB");
    const std::wstring wide = ipc::pipeBaseName("\xC3");
    EXPECT_EQ(wide.back(), static_cast<wchar_t>(-61)) << "no code page";
}

} // namespace
