#include "receive/rtp_packet.h"

#include "receive/numbered_packets.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace velmora {
namespace {

using test::Bytes;

Bytes rtp(std::uint8_t first, const Bytes& behind_fixed_header) {
    const Bytes fixed_header{first, 33, 0x12, 0x34, 0, 0, 0, 0, 0xA1, 0xA2, 0xA3, 0xA4};
    return test::operator+(fixed_header, behind_fixed_header);
}

bool has_payload(const Bytes& bytes, const Bytes& payload) {
    const auto packet = parse_rtp_packet(bytes);
    return packet && std::ranges::equal(packet->payload, payload);
}

TEST(RtpPacket, TellsSequenceAndSource) {
    const Bytes bytes = rtp(0x80, {7, 8});
    const auto packet = parse_rtp_packet(bytes);
    ASSERT_TRUE(packet);
    EXPECT_EQ(packet->sequence, 0x1234);
    EXPECT_EQ(packet->ssrc, 0xA1A2A3A4U);
    EXPECT_TRUE(has_payload(bytes, {7, 8}));
}

TEST(RtpPacket, LeavesOutContributorsExtensionAndPadding) {
    EXPECT_TRUE(has_payload(rtp(0x82, {1, 1, 1, 1, 2, 2, 2, 2, 7, 8}), {7, 8}));
    EXPECT_TRUE(has_payload(rtp(0x90, {0xBE, 0xDE, 0, 1, 9, 9, 9, 9, 7, 8}), {7, 8}));
    EXPECT_TRUE(has_payload(rtp(0xA0, {7, 8, 0, 0, 3}), {7, 8}));
}

TEST(RtpPacket, RefusesOtherVersionsControlAndWhatIsCutOff) {
    EXPECT_FALSE(parse_rtp_packet(rtp(0x40, {7})));
    Bytes control = rtp(0x80, {7});
    control[1] = 200;
    EXPECT_FALSE(parse_rtp_packet(control));
    EXPECT_FALSE(parse_rtp_packet(Bytes(11, 0x80)));
    EXPECT_FALSE(parse_rtp_packet(rtp(0x8F, {7})));
    EXPECT_FALSE(parse_rtp_packet(rtp(0x90, {0, 0})));
    EXPECT_FALSE(parse_rtp_packet(rtp(0x90, {0, 0, 0, 1})));
    EXPECT_FALSE(parse_rtp_packet(rtp(0xA0, {7, 200})));
}

} // namespace
} // namespace velmora
