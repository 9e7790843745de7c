#include "general/loopback.h"

#include <array>
#include <gtest/gtest.h>
#include <netinet/tcp.h>
#include <string>
#include <unistd.h>

namespace {

class SocketStream : public testing::Test {
protected:
    const Descriptor m_server{Socket_TCPServer(0)};
    const Descriptor m_client{Socket_TCPClient("127.0.0.1", port_of(m_server))};
    const Descriptor m_peer{Socket_Accept(m_server)};
};

TEST_F(SocketStream, CarriesBytesBothWays) {
    std::array<char, 16> buffer{};
    ASSERT_GT(m_peer, 0);
    EXPECT_EQ(Socket_Send(m_client, "question", 8), 0) << "0, not the count";
    EXPECT_EQ(Socket_Recv(m_peer, buffer.data(), buffer.size()), 8);
    EXPECT_EQ(std::string(buffer.data(), 8), "question");
    EXPECT_EQ(Socket_Send(m_peer, "answer", 6), 0);
    EXPECT_EQ(Socket_Recv(m_client, buffer.data(), buffer.size()), 6);
    EXPECT_EQ(Socket_Send(m_peer, "", 0), 0);
}

TEST_F(SocketStream, ListensWithABacklogOfSix) {
    tcp_info info{};
    socklen_t bytes = sizeof(info);
    ASSERT_EQ(getsockopt(m_server, IPPROTO_TCP, TCP_INFO, &info, &bytes), 0);
    EXPECT_EQ(info.tcpi_sacked, 6U); // of a listening socket: its backlog
}

TEST_F(SocketStream, ReceivesNothingFromAPeerThatClosed) {
    shutdown(m_client, SHUT_WR);
    std::array<char, 4> buffer{};
    EXPECT_EQ(Socket_Recv(m_peer, buffer.data(), buffer.size()), 0);
}

TEST_F(SocketStream, TellsItsPeersAddress) {
    std::array<char, 16> address{};
    EXPECT_EQ(Socket_GetForeignAddress(m_client, address.data()), 0);
    EXPECT_STREQ(address.data(), "127.0.0.1");
}

TEST_F(SocketStream, FindsItsPeerByName) {
    const Descriptor named(Socket_TCPClient("localhost", port_of(m_server)));
    EXPECT_GT(named, 0);
}

TEST(SocketStreamFailure, OfAddressQueryIsReported) {
    const Descriptor unconnected(Socket_UDPSocket());
    std::array<char, 16> address{};
    testing::internal::CaptureStderr();
    EXPECT_EQ(Socket_GetForeignAddress(unconnected, address.data()), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "setsockopt() failed: Transport endpoint is not connected\n");
}

TEST(SocketStreamFailure, OfServerIsReported) {
    const Descriptor server(Socket_TCPServer(0));
    testing::internal::CaptureStderr();
    EXPECT_EQ(Socket_TCPServer(port_of(server)), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "setsockopt() failed: Address already in use\n");
}

TEST(SocketStreamFailure, OfClientIsReported) {
    std::uint16_t closed_port = 0;
    {
        const Descriptor server(Socket_TCPServer(0));
        closed_port = port_of(server);
    }
    testing::internal::CaptureStderr();
    EXPECT_EQ(Socket_TCPClient("127.0.0.1", closed_port), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "setsockopt() failed: Connection refused\n");
}

TEST(SocketStreamFailure, OfNameLookupIsReportedAsAFailedConnection) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(Socket_TCPClient("no such host!", 80), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "setsockopt() failed: Connection refused\n");
}

TEST(SocketStreamFailure, OfTransferAndAcceptIsSilent) {
    std::array<char, 4> buffer{};
    testing::internal::CaptureStderr();
    EXPECT_EQ(Socket_Accept(-1), -1);
    EXPECT_EQ(Socket_Send(-1, "x", 1), -1);
    EXPECT_EQ(Socket_Recv(-1, buffer.data(), buffer.size()), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

} // namespace
