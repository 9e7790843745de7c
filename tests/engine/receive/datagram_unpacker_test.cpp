#include "receive/datagram_unpacker.h"

#include "receive/numbered_packets.h"

#include <gtest/gtest.h>

namespace velmora::test {
namespace {

using Framing = DatagramUnpacker::Framing;

Bytes rtp_header(std::uint16_t sequence) {
    return {0x80,
            33,
            static_cast<std::uint8_t>(sequence >> 8U),
            static_cast<std::uint8_t>(sequence),
            0,
            0,
            0,
            0,
            0,
            0,
            0,
            1};
}

Bytes unpack(DatagramUnpacker& unpacker, const Bytes& datagram) {
    unpacker.feed(datagram, SteadyTime{});
    return unpacker.take_packets();
}

Bytes unpack(const Bytes& datagram) {
    DatagramUnpacker unpacker{Framing::transport_packets};
    return unpack(unpacker, datagram);
}

TEST(DatagramUnpacker, FindsAnyNumberOfPackets) {
    for (const int count : {1, 3, 7, 10, 340}) {
        const Bytes packets = numbered_packets(count);
        EXPECT_EQ(unpack(packets), packets) << count;
    }
}

TEST(DatagramUnpacker, SkipsWhatIsInFrontOfThePackets) {
    const Bytes packets = numbered_packets(7);
    for (const std::size_t size : {1U, 12U, 16U, 187U}) {
        EXPECT_EQ(unpack(Bytes(size, 0x47) + packets), packets) << size;
    }
    EXPECT_EQ(unpack(rtp_header(5) + packets), packets);
}

TEST(DatagramUnpacker, DropsWhatIsBehindThePackets) {
    const Bytes packets = numbered_packets(7);
    for (const std::size_t size : {1U, 100U, 187U}) {
        EXPECT_EQ(unpack(packets + Bytes(size, 0x47)), packets) << size;
    }
}

TEST(DatagramUnpacker, LeavesOutParity) {
    const Bytes packets = numbered_packets(6);
    Bytes with_parity;
    for (int i = 0; i < 6; ++i) {
        with_parity = with_parity + numbered_packets(1, i) + Bytes(16, 0xAA);
    }
    EXPECT_EQ(unpack(with_parity), packets);
    EXPECT_EQ(unpack(rtp_header(5) + with_parity), packets);
    with_parity.erase(with_parity.end() - 16, with_parity.end());
    EXPECT_EQ(unpack(with_parity), packets) << "behind the last packet it is missing";
}

TEST(DatagramUnpacker, DropsWhatHasNoPackets) {
    EXPECT_TRUE(unpack({}).empty());
    EXPECT_TRUE(unpack({0x47}).empty());
    EXPECT_TRUE(unpack(Bytes(1316, 0)).empty());
    EXPECT_TRUE(unpack(Bytes(187, 0x47)).empty());
}

TEST(DatagramUnpacker, LeavesOutAPacketWithoutSyncByte) {
    Bytes packets = numbered_packets(7);
    packets[188 * 3] = 0;
    EXPECT_EQ(unpack(packets), numbered_packets(3) + numbered_packets(3, 4));
}

TEST(DatagramUnpacker, DropsADatagramThatTheNetworkRepeated) {
    DatagramUnpacker unpacker{Framing::transport_packets};
    const Bytes packets = numbered_packets(7);
    EXPECT_EQ(unpack(unpacker, packets), packets);
    EXPECT_TRUE(unpack(unpacker, packets).empty());
    EXPECT_TRUE(unpack(unpacker, packets).empty());
    EXPECT_EQ(unpack(unpacker, numbered_packets(7, 7)).size(), packets.size());
    EXPECT_EQ(unpack(unpacker, packets), packets) << "not in a row";
}

TEST(DatagramUnpacker, KeepsRepeatedStuffingAndSinglePackets) {
    DatagramUnpacker unpacker{Framing::transport_packets};
    Bytes stuffing;
    for (int i = 0; i < 7; ++i) {
        stuffing = stuffing + packet(null_packet_pid, 0, false, Bytes(184, 0xFF));
    }
    const Bytes single = numbered_packets(1);
    for (const Bytes& packets : {stuffing, single}) {
        EXPECT_EQ(unpack(unpacker, packets), packets);
        EXPECT_EQ(unpack(unpacker, packets), packets);
    }
}

TEST(DatagramUnpacker, TakesPacketsOutOfRtp) {
    DatagramUnpacker unpacker{Framing::rtp};
    EXPECT_EQ(unpack(unpacker, rtp_header(1) + numbered_packets(7)), numbered_packets(7));
    EXPECT_TRUE(unpack(unpacker, rtp_header(3) + numbered_packets(7, 14)).empty());
    EXPECT_EQ(unpack(unpacker, rtp_header(2) + numbered_packets(7, 7)), numbered_packets(14, 7));
    EXPECT_TRUE(unpack(unpacker, rtp_header(2) + numbered_packets(7, 7)).empty());
    EXPECT_TRUE(unpack(unpacker, numbered_packets(7)).empty()) << "no RTP";
    EXPECT_EQ(unpacker.lost(), 0U);
}

TEST(DatagramUnpacker, LetsTheFirstDatagramsDecide) {
    DatagramUnpacker unpacker{Framing::either};
    unpack(unpacker, Bytes(1316, 0));
    EXPECT_EQ(unpack(unpacker, rtp_header(1) + numbered_packets(7)), numbered_packets(7));
    EXPECT_TRUE(unpack(unpacker, rtp_header(3) + numbered_packets(7, 14)).empty()) << "its order is kept";
    unpacker.restart();
    EXPECT_EQ(unpack(unpacker, numbered_packets(7)), numbered_packets(7)) << "another sender, without RTP";
}

} // namespace
} // namespace velmora::test
