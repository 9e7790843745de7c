#include "general/loopback.h"

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <numeric>
#include <sys/resource.h>
#include <vector>

namespace {

using namespace std::chrono_literals;

/** What the kernel makes of an asked buffer size: it doubles it and keeps it below its limit. */
int granted(int asked, const std::string& limit_file) {
    int limit = 0;
    std::ifstream("/proc/sys/net/core/" + limit_file) >> limit;
    return 2 * std::min(asked, limit);
}

TEST(SocketUdp, SenderHasAMebibyteOfBuffer) {
    const Descriptor sender(Socket_UDPSocket());
    ASSERT_GT(sender, 0);
    EXPECT_EQ(option_of(sender, SOL_SOCKET, SO_TYPE), SOCK_DGRAM);
    EXPECT_EQ(option_of(sender, SOL_SOCKET, SO_SNDBUF), granted(0x100000, "wmem_max"));
    EXPECT_EQ(port_of(sender), 0) << "the system picks the port at the first send";
}

TEST(SocketUdp, ServerHasFiveMebibytesOfBuffer) {
    const Descriptor server(Socket_UDPServer(0));
    ASSERT_GT(server, 0);
    EXPECT_EQ(option_of(server, SOL_SOCKET, SO_RCVBUF), granted(0x500000, "rmem_max"));
    EXPECT_EQ(option_of(server, SOL_SOCKET, SO_REUSEADDR), 0);
    EXPECT_EQ(option_of(server, SOL_SOCKET, SO_BROADCAST), 0);
}

TEST(SocketUdp, ServerOnAPortInUseReportsAndIsZero) {
    const Descriptor server(Socket_UDPServer(0));
    testing::internal::CaptureStderr();
    EXPECT_EQ(Socket_UDPServer(port_of(server)), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "setsockopt() failed: Address already in use\n");
}

TEST(SocketUdp, WithoutDescriptorsSenderIsMinusOneAndServerZero) {
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none{.rlim_cur = 0, .rlim_max = before.rlim_max};
    testing::internal::CaptureStderr();
    setrlimit(RLIMIT_NOFILE, &none);
    const int sender = Socket_UDPSocket();
    const int server = Socket_UDPServer(0);
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("setsockopt() failed: "), std::string::npos);
    EXPECT_EQ(sender, -1);
    EXPECT_EQ(server, 0);
}

class SocketDatagram : public testing::Test {
protected:
    std::vector<int> sizes_received() {
        std::vector<int> sizes;
        while (Socket_IsRxPacketUS(m_server, 1'000'000) == 1 && sizes.size() < m_expected) {
            std::uint32_t address = 0;
            std::uint16_t port = 0;
            const int size = Socket_ReceiveFrom(m_server, m_buffer.data(), static_cast<int>(m_buffer.size()),
                                                &address, &port);
            m_received.insert(m_received.end(), m_buffer.begin(), m_buffer.begin() + size);
            sizes.push_back(size);
            if (sizes.size() == m_expected) {
                break;
            }
        }
        return sizes;
    }

    const Descriptor m_server{Socket_UDPServer(0)};
    const Descriptor m_sender{Socket_UDPSocket()};
    std::vector<char> m_buffer = std::vector<char>(65536);
    std::vector<char> m_received;
    std::size_t m_expected = 0;
};

TEST_F(SocketDatagram, LongBuffersGoOutInDatagramsOf32Kib) {
    std::vector<char> data(70'000);
    std::iota(data.begin(), data.end(), '\0');
    m_expected = 3;
    EXPECT_EQ(Socket_SendTo(m_sender, data.data(), 70'000, loopback, port_of(m_server)), 70'000);
    EXPECT_EQ(sizes_received(), (std::vector{32'768, 32'768, 4'464}));
    EXPECT_EQ(m_received, data);
}

TEST_F(SocketDatagram, NothingGoesOutForNothing) {
    EXPECT_EQ(Socket_SendTo(m_sender, "x", 0, loopback, port_of(m_server)), 0);
    EXPECT_EQ(Socket_IsRxPacket(m_server), 0);
}

TEST_F(SocketDatagram, ASendThatFailsCountsNothing) {
    EXPECT_EQ(Socket_SendTo(-1, "abc", 3, loopback, port_of(m_server)), 0);
}

TEST_F(SocketDatagram, TellsItsSender) {
    ASSERT_EQ(Socket_SendTo(m_sender, "abc", 3, loopback, port_of(m_server)), 3);
    std::uint32_t address = 0;
    std::uint16_t port = 0;
    ASSERT_EQ(Socket_IsRxPacketUS(m_server, 1'000'000), 1);
    EXPECT_EQ(Socket_ReceiveFrom(m_server, m_buffer.data(), 10, &address, &port), 3);
    EXPECT_EQ(std::string(m_buffer.data(), 3), "abc");
    EXPECT_EQ(address, loopback);
    EXPECT_EQ(port, port_of(m_sender));
}

TEST_F(SocketDatagram, AReceiveThatFailsIsMinusOne) {
    std::uint32_t address = 0;
    std::uint16_t port = 0;
    EXPECT_EQ(Socket_ReceiveFrom(-1, m_buffer.data(), 10, &address, &port), -1);
}

TEST_F(SocketDatagram, AnIdleSocketIsNotReadableForThreeMilliseconds) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Socket_IsRxPacket(m_server), 0);
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, 3ms);
    EXPECT_LT(waited, 500ms);
}

TEST_F(SocketDatagram, TheWaitForReadinessIsTheCallers) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Socket_IsRxPacketUS(m_server, 50'000), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 50ms);
}

TEST_F(SocketDatagram, ReadinessOfNoSocketIsAnError) {
    const int closed = Socket_UDPSocket();
    Socket_Close(closed);
    EXPECT_EQ(fcntl(closed, F_GETFD), -1);
    EXPECT_EQ(Socket_IsRxPacket(closed), -1);
    EXPECT_EQ(Socket_IsRxPacketUS(m_server, -1), -1);
}

TEST_F(SocketDatagram, ReadinessIsKnownOfHighDescriptorsToo) {
    constexpr int high = 1500; // beyond what select can hold
    const Descriptor raised(fcntl(m_server, F_DUPFD, high));
    if (raised < high) {
        GTEST_SKIP() << "no descriptor of " << high << " and above: the limit is lower";
    }
    EXPECT_EQ(Socket_IsRxPacket(raised), 0);
    Socket_SendTo(m_sender, "abc", 3, loopback, port_of(m_server));
    EXPECT_EQ(Socket_IsRxPacketUS(raised, 1'000'000), 1);
}

} // namespace
