#include "ts/table_packets.h"

#include "ts/packet_builder.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using test::Bytes;

/// Sends a section in as many packets as it needs.
template <class Target>
void send(Target& target, std::uint16_t pid, unsigned counter, const Bytes& section) {
    const Bytes payload = test::with_pointer(section);
    for (std::size_t at = 0; at < payload.size(); at += 184) {
        const Bytes part(payload.begin() + static_cast<std::ptrdiff_t>(at),
                         payload.begin() + static_cast<std::ptrdiff_t>(std::min(at + 184, payload.size())));
        target.feed(test::parsed(test::packet(pid, counter++, at == 0, part)));
    }
}

/// What a receiver learns from the packets.
ProgrammeTables read(const Bytes& packets) {
    ProgrammeTables tables;
    for (std::size_t at = 0; at < packets.size(); at += ts_packet_size) {
        const Bytes packet(packets.begin() + static_cast<std::ptrdiff_t>(at),
                           packets.begin() + static_cast<std::ptrdiff_t>(at + ts_packet_size));
        tables.feed(test::parsed(packet));
    }
    return tables;
}

TEST(TablePackets, AreNoneBeforeThereAreTables) {
    EXPECT_TRUE(TablePackets{}.bytes().empty());
}

TEST(TablePackets, CarryEveryMapOfOnePid) {
    TablePackets packets;
    send(packets, 0, 3, test::pat({{1, 0x100}, {2, 0x100}}));
    send(packets, 0x100, 7, test::pmt(1, {{0x1B, 0x101}}));
    send(packets, 0x100, 8, test::pmt(2, {{0x1B, 0x201}}));
    const Bytes bytes = packets.bytes();
    ASSERT_EQ(bytes.size(), 3 * ts_packet_size);
    EXPECT_TRUE(read(bytes).complete());
    EXPECT_EQ(bytes[3], 0x13);
    EXPECT_EQ(bytes[ts_packet_size + 3], 0x17);
    EXPECT_EQ(bytes[2 * ts_packet_size + 3], 0x18);
}

TEST(TablePackets, CarryAMapOfSeveralPackets) {
    TablePackets packets;
    send(packets, 0, 0, test::pat({{1, 0x100}}));
    send(packets, 0x100, 0, test::pmt(1, {{0x1B, 0x101}, {0x06, 0x102, Bytes(200, 0)}}));
    EXPECT_EQ(packets.bytes().size(), 3 * ts_packet_size);
    EXPECT_TRUE(read(packets.bytes()).complete());
}

TEST(TablePackets, LeaveOutWhatIsDamagedOrPast) {
    TablePackets packets;
    send(packets, 0, 0, test::pat({{1, 0x100}}));
    send(packets, 0x100, 0, test::pmt(1, {{0x1B, 0x101}}));
    const Bytes before = packets.bytes();
    Bytes damaged = test::pmt(1, {{0x24, 0x101}});
    damaged[13] ^= 1U;
    send(packets, 0x100, 16, damaged);
    EXPECT_EQ(packets.bytes(), before);
    send(packets, 0, 1, test::pat({{1, 0x300}}));
    EXPECT_EQ(packets.bytes().size(), ts_packet_size) << "the map of that PID is no map any more";
}

} // namespace
} // namespace velmora
