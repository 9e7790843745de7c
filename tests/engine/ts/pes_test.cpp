#include "ts/pes.h"

#include "ts/packet_builder.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using test::Bytes;

std::vector<PesPacket> assemble(PesAssembler& assembler, const Bytes& pes, std::uint16_t pid = 100) {
    std::vector<PesPacket> packets;
    for (std::size_t at = 0; at < pes.size(); at += 184) {
        const Bytes part(pes.begin() + static_cast<std::ptrdiff_t>(at),
                         pes.begin() + static_cast<std::ptrdiff_t>(std::min(at + 184, pes.size())));
        const Bytes bytes = test::packet(pid, static_cast<unsigned>(at / 184), at == 0, part);
        if (auto packet = assembler.feed(test::parsed(bytes, at), false)) {
            packets.push_back(std::move(*packet));
        }
    }
    return packets;
}

TEST(Pes, ReadsBothTimeStampsUpTo33Bits) {
    const auto header = parse_pes_header(test::pes(0x1FFFFFFFF, 0x123456789, {}));
    ASSERT_TRUE(header);
    EXPECT_EQ(header->pts, StreamTime{0x1FFFFFFFF});
    EXPECT_EQ(header->dts, StreamTime{0x123456789});
    EXPECT_EQ(parse_pes_header(test::pes(7, 7, {}))->dts, StreamTime{7});
}

TEST(Pes, AnUnboundedPacketEndsWithTheNextOne) {
    PesAssembler assembler;
    const Bytes payload(500, 0x31);
    EXPECT_TRUE(assemble(assembler, test::pes(1, 1, payload)).empty());
    const auto packets = assemble(assembler, test::pes(2, 2, payload));
    ASSERT_EQ(packets.size(), 1U);
    EXPECT_TRUE(std::ranges::equal(packets[0].payload(), payload));
    const auto last = assembler.finish();
    ASSERT_TRUE(last);
    EXPECT_EQ(last->header.pts, StreamTime{2});
    EXPECT_FALSE(assembler.finish());
}

TEST(Pes, ABoundedPacketEndsWithItsLength) {
    PesAssembler assembler;
    const auto packets = assemble(assembler, test::pes(1, 1, Bytes(500, 0x31), true));
    ASSERT_EQ(packets.size(), 1U);
    EXPECT_EQ(packets[0].payload().size(), 500U);
}

/// A picture of so many bytes, whose length is told as far as 16 bits do.
Bytes picture(std::size_t size) {
    Bytes pes = test::pes(1, 1, {});
    pes.resize(size + 6, 0x31);
    pes[4] = static_cast<std::uint8_t>(size >> 8U);
    pes[5] = static_cast<std::uint8_t>(size);
    return pes;
}

class OverflowingLength : public testing::TestWithParam<std::size_t> {};

TEST_P(OverflowingLength, CutsNoPicture) {
    PesAssembler assembler;
    assembler.doubt_lengths();
    EXPECT_TRUE(assemble(assembler, picture(GetParam())).empty()) << "the next one tells that it is whole";
    const auto packets = assemble(assembler, picture(100));
    ASSERT_EQ(packets.size(), 1U);
    EXPECT_EQ(packets[0].bytes.size(), GetParam() + 6);
    EXPECT_FALSE(packets[0].discontinuity);
}

TEST_P(OverflowingLength, CutsNoPictureOfALiveStreamAndDelaysNone) {
    PesAssembler assembler;
    assembler.doubt_lengths();
    assembler.hand_out_early();
    for (int i = 0; i < 3; ++i) {
        for (const std::size_t size : {GetParam(), std::size_t{100}, std::size_t{30'000}}) {
            const bool may_be_cut = i == 0 && (size & 0xFFFFU) + 6 == 184 * 5;
            const auto packets = assemble(assembler, picture(size));
            ASSERT_EQ(packets.size(), 1U) << size;
            EXPECT_TRUE(may_be_cut || packets[0].bytes.size() == size + 6) << size;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, OverflowingLength,
                         testing::Values(65'538, 65'535 + 10, 70'000, 2 * 65'536 + 30'001,
                                         65'536 + 184 * 5 - 6 /* the length ends with a packet */));

TEST(Pes, WhoseLengthEndsWithAPacketIsWholeAtOnceInALiveStream) {
    PesAssembler assembler;
    assembler.doubt_lengths();
    assembler.hand_out_early();
    EXPECT_EQ(assemble(assembler, picture(184 * 3 - 6)).size(), 1U);
}

TEST(Pes, PaddingBehindALengthIsNoPicture) {
    PesAssembler assembler;
    assembler.doubt_lengths();
    Bytes padded = picture(300);
    padded.resize(2 * 184, 0xFF);
    EXPECT_TRUE(assemble(assembler, padded).empty());
    const auto packets = assemble(assembler, picture(100));
    ASSERT_EQ(packets.size(), 1U);
    EXPECT_EQ(packets[0].bytes.size(), 306U);
}

TEST(Pes, TwoShortBoundedPacketsInARowAreBothHandedOut) {
    PesAssembler assembler;
    EXPECT_EQ(assemble(assembler, test::pes(1, 1, Bytes(20, 1), true)).size(), 1U);
    EXPECT_EQ(assemble(assembler, test::pes(2, 2, Bytes(20, 1), true)).size(), 1U);
}

TEST(Pes, OfAPacketInProgressOnlyThePayloadIsSeen) {
    PesAssembler assembler;
    EXPECT_TRUE(assembler.payload_in_progress().empty());
    const Bytes payload(300, 0x31);
    EXPECT_TRUE(assemble(assembler, test::pes(1, 1, payload)).empty());
    EXPECT_TRUE(std::ranges::equal(assembler.payload_in_progress(), payload));
    assembler.restart();
    EXPECT_TRUE(assembler.payload_in_progress().empty());
}

TEST(Pes, WhatIsNoHeaderIsDropped) {
    PesAssembler assembler;
    assemble(assembler, Bytes(300, 0x31));
    EXPECT_FALSE(assembler.finish());
    EXPECT_FALSE(parse_pes_header(Bytes{0, 0, 1}));
    Bytes truncated = test::pes(1, 1, {});
    truncated.resize(11);
    EXPECT_FALSE(parse_pes_header(truncated));
}

TEST(Pes, KeepsABoundOnItsSize) {
    PesAssembler assembler;
    assemble(assembler, test::pes(1, 1, Bytes(184, 1)));
    const Bytes more = test::packet(100, 0, false, Bytes(184, 2));
    for (std::size_t bytes = 0; bytes < PesAssembler::max_size + 100000; bytes += 184) {
        EXPECT_FALSE(assembler.feed(test::parsed(more), false));
    }
    EXPECT_LE(assembler.finish()->bytes.size(), PesAssembler::max_size);
}

} // namespace
} // namespace velmora
