#include "live/stream_backlog.h"
#include "support/stream_maker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

namespace velmora {
namespace {

constexpr int packets_per_block = 7;

std::vector<std::uint8_t> small_stream() {
    StreamRecipe recipe;
    recipe.width = 320;
    recipe.height = 240;
    recipe.bitrate = "300k";
    recipe.duration = 3;
    std::ifstream file{make_stream(recipe), std::ios::binary};
    return {std::istreambuf_iterator<char>{file}, {}};
}

SharedBlock block_of(const std::vector<std::uint8_t>& stream, std::size_t& at) {
    auto block = std::make_shared<PacketBlock>();
    const std::size_t end = std::min(at + packets_per_block * ts_packet_size, stream.size());
    block->bytes.assign(stream.begin() + static_cast<std::ptrdiff_t>(at),
                        stream.begin() + static_cast<std::ptrdiff_t>(end));
    at = end;
    return block;
}

std::vector<std::uint8_t> joined(const std::vector<SharedBlock>& blocks) {
    std::vector<std::uint8_t> bytes;
    for (const SharedBlock& block : blocks) {
        bytes.insert(bytes.end(), block->bytes.begin(), block->bytes.end());
    }
    return bytes;
}

std::uint16_t pid_at(const std::vector<std::uint8_t>& bytes, std::size_t packet) {
    return parse_ts_packet(std::span{bytes}.subspan(packet * ts_packet_size).first<ts_packet_size>(), 0)
        .value()
        .pid;
}

TEST(StreamBacklog, HoldsNothingBeforeAnAccessPoint) {
    const auto stream = small_stream();
    StreamBacklog backlog;
    std::size_t at = 0;
    backlog.feed(block_of(stream, at)); // the tables and the beginning of the first picture
    EXPECT_TRUE(StreamBacklog{}.from_access_point().empty());
}

TEST(StreamBacklog, BeginsWithTheTablesAndAnAccessPointAndEndsWithTheLatestPacket) {
    const auto stream = small_stream();
    constexpr std::uint16_t video_pid = 0x100;
    StreamBacklog backlog;
    std::size_t at = 0;
    while (at < stream.size()) {
        backlog.feed(block_of(stream, at));
        const auto held = joined(backlog.from_access_point());
        if (held.empty()) {
            continue;
        }
        ASSERT_EQ(pid_at(held, 0), 0);
        ASSERT_NE(pid_at(held, 1), 0);
        ASSERT_EQ(pid_at(held, 2), video_pid);
        const auto first =
            parse_ts_packet(std::span{held}.subspan(2 * ts_packet_size).first<ts_packet_size>(), 0).value();
        ASSERT_TRUE(first.payload_unit_start && first.random_access);
        const std::vector<std::uint8_t> behind_tables(held.begin() + 2 * ts_packet_size, held.end());
        ASSERT_LE(behind_tables.size(), at);
        ASSERT_TRUE(std::equal(behind_tables.rbegin(), behind_tables.rend(),
                               std::make_reverse_iterator(stream.begin() + static_cast<std::ptrdiff_t>(at))));
    }
    // One second of 300 kbit/s, whatever was fed.
    EXPECT_LT(joined(backlog.from_access_point()).size(), stream.size() / 2);
}

TEST(StreamBacklog, IsBoundedWithoutAccessPoints) {
    auto stream = small_stream();
    // Null packets only: nothing to begin with, and nothing to keep.
    for (std::size_t at = 0; at < stream.size(); at += ts_packet_size) {
        stream[at + 1] = 0x1F;
        stream[at + 2] = 0xFF;
    }
    StreamBacklog backlog;
    for (std::size_t fed = 0; fed < std::size_t{70} << 20U;) {
        std::size_t at = 0;
        backlog.feed(block_of(stream, at));
        fed += at;
    }
    EXPECT_TRUE(backlog.from_access_point().empty());
}

} // namespace
} // namespace velmora
