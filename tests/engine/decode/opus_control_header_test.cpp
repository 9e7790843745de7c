#include "decode/opus_control_header.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(OpusControlHeader, TellsTheSizeOfThePacketBehindIt) {
    Bytes bytes{0x7F, 0xE0, 3, 1, 2, 3, 0x7F};
    const auto header = read_opus_control_header(bytes);
    ASSERT_TRUE(header);
    EXPECT_EQ(header->header_size, 3U);
    EXPECT_EQ(header->packet_size, 3U);
}

TEST(OpusControlHeader, AddsUpSizesOf255AndMore) {
    Bytes bytes{0x7F, 0xE0, 0xFF, 0xFF, 10};
    bytes.resize(bytes.size() + 520);
    const auto header = read_opus_control_header(bytes);
    ASSERT_TRUE(header);
    EXPECT_EQ(header->header_size, 5U);
    EXPECT_EQ(header->packet_size, 520U);
}

TEST(OpusControlHeader, ReadsTrimsAndPassesOverTheExtension) {
    const Bytes bytes{0x7F, 0xFC, 1, 0x01, 0x38, 0x00, 0x20, 2, 0xAA, 0xBB, 0x55};
    const auto header = read_opus_control_header(bytes);
    ASSERT_TRUE(header);
    EXPECT_EQ(header->trim_at_start, 312U);
    EXPECT_EQ(header->trim_at_end, 32U);
    EXPECT_EQ(header->header_size, 10U);
}

TEST(OpusControlHeader, RefusesWhatIsCutOrIsNone) {
    const Bytes whole{0x7F, 0xFC, 1, 0x01, 0x38, 0x00, 0x20, 2, 0xAA, 0xBB, 0x55};
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_FALSE(read_opus_control_header(std::span{whole}.first(size))) << size;
    }
    EXPECT_FALSE(read_opus_control_header(Bytes{0x12, 0x34, 1, 0}));
    EXPECT_FALSE(read_opus_control_header(Bytes(300, 0xFF)));
}

} // namespace
} // namespace velmora
