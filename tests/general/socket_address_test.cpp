#include "general/socket.h"

#include <array>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace {

using Text = std::unique_ptr<char, decltype(&std::free)>;

TEST(SocketAddress, ComesFromText) {
    EXPECT_EQ(Socket_Str2Addr("192.168.0.8"), 0xC0A80008U);
    EXPECT_EQ(Socket_Str2Addr("225.0.0.1"), 0xE1000001U);
    EXPECT_EQ(Socket_Str2Addr("255.255.255.255"), 0xFFFFFFFFU);
}

TEST(SocketAddress, AcceptsABareNumber) {
    EXPECT_EQ(Socket_Str2Addr("0"), 0U);
}

TEST(SocketAddress, IsAllOnesForTextThatIsNone) {
    for (const char* text : {"", "zandor", "1.2.3.4.5", "256.1.1.1"}) {
        EXPECT_EQ(Socket_Str2Addr(text), 0xFFFFFFFFU) << text;
    }
}

TEST(SocketAddress, BecomesText) {
    std::array<char, 16> buffer{};
    EXPECT_EQ(Socket_Addr2Str(0xE1000001, buffer.data()), buffer.data());
    EXPECT_STREQ(buffer.data(), "225.0.0.1");
    EXPECT_STREQ(Socket_Addr2Str(0xC0A80008, buffer.data()), "192.168.0.8");
    EXPECT_STREQ(Socket_Addr2Str(0xFFFFFFFF, buffer.data()), "255.255.255.255");
    EXPECT_STREQ(Socket_Addr2Str(0, buffer.data()), "0.0.0.0");
}

TEST(SocketAddress, OfAnInterface) {
    const Text address(Socket_GetMyAddr("lo"), std::free);
    ASSERT_NE(address, nullptr);
    EXPECT_STREQ(address.get(), "127.0.0.1");
}

TEST(SocketAddress, OfAnInterfaceThatDoesNotExistIsNull) {
    EXPECT_EQ(Socket_GetMyAddr("no-such-interface"), nullptr);
}

TEST(SocketAddress, OfTheHardwareIsThatOfEth0OrZero) {
    std::string expected = "00:00:00:00:00:00";
    std::ifstream("/sys/class/net/eth0/address") >> expected;
    if (expected.empty()) {
        expected = "00:00:00:00:00:00";
    }
    std::array<char, 18> buffer{};
    EXPECT_EQ(Socket_GetMacAddr(buffer.data()), buffer.data());
    EXPECT_EQ(std::string(buffer.data()), expected);
}

TEST(SocketLibrary, NeedsNoSetUp) {
    Socket_Init();
    Socket_Term();
    EXPECT_EQ(Socket_Str2Addr("1.2.3.4"), 0x01020304U);
}

} // namespace
