#include "receive/retransmitter.h"

#include "receive/collector.h"
#include "receive/numbered_packets.h"
#include "support/udp_port.h"

#include "support/test_time.h"

#include <gtest/gtest.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace velmora {
namespace {

using test::Bytes;
using test::numbered_packets;

PacketBlock block_of(const Bytes& bytes) {
    return {.bytes = bytes, .arrived = SteadyClock::now()};
}

TEST(Retransmitter, SendsSevenPacketsADatagramAndTheRestAtOnce) {
    const std::uint16_t port = free_udp_port();
    const FileDescriptor socket{::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    ASSERT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    const timeval patience{.tv_sec = 5, .tv_usec = 0};
    ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);

    const Retransmitter retransmitter{INADDR_LOOPBACK, port};
    retransmitter.send(block_of(numbered_packets(17)));
    Bytes received;
    for (const int packets : {7, 7, 3}) {
        Bytes datagram(2000);
        const auto size = ::recv(socket.get(), datagram.data(), datagram.size(), 0);
        ASSERT_EQ(size, packets * static_cast<int>(ts_packet_size));
        received.insert(received.end(), datagram.begin(), datagram.begin() + size);
    }
    EXPECT_EQ(received, numbered_packets(17));
}

TEST(Retransmitter, ItsOwnReceiverGetsTheStreamBitForBit) {
    const std::uint16_t port = free_udp_port();
    test::Collector collector;
    const auto receiver = receive({.transport = Transport::udp, .port = port}, real_time(), collector.sink());
    const Retransmitter retransmitter{INADDR_LOOPBACK, port};
    const Bytes stream = numbered_packets(700);
    retransmitter.send(block_of(stream));
    ASSERT_TRUE(collector.wait_for(stream.size()));
    EXPECT_EQ(collector.bytes(), stream);
}

TEST(Retransmitter, ATargetThatIsNotThereDoesNoHarm) {
    constexpr std::uint32_t reserved = 0xF0000001; // can be sent to by nobody
    for (const std::uint32_t address : {INADDR_LOOPBACK, reserved}) {
        const Retransmitter retransmitter{address, free_udp_port()};
        for (int i = 0; i < 10; ++i) {
            EXPECT_NO_THROW(retransmitter.send(block_of(numbered_packets(7))));
        }
    }
}

} // namespace
} // namespace velmora
