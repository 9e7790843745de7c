#include "ts/packet_sync.h"

#include "ts/packet_builder.h"

#include <gtest/gtest.h>

#include <numeric>
#include <ostream>
#include <random>

namespace velmora {
namespace {

using test::Bytes;

/// A payload with sync bytes in it, at other places in each packet.
Bytes payload(std::size_t packet) {
    Bytes bytes(184, 0x33);
    for (std::size_t at = packet * 7 % 40; at < bytes.size(); at += 40 + packet) {
        bytes[at] = ts_sync_byte;
    }
    return bytes;
}

/// Packets of the layout with counting PIDs; `prefix` bytes in front of each sync byte.
Bytes stream(std::size_t count, std::size_t stride, std::size_t prefix) {
    Bytes bytes;
    for (std::size_t i = 0; i < count; ++i) {
        bytes.insert(bytes.end(), prefix, 0x55);
        const Bytes packet = test::packet(static_cast<std::uint16_t>(100 + i), 0, false, payload(i));
        bytes.insert(bytes.end(), packet.begin(), packet.end());
        bytes.insert(bytes.end(), stride - prefix - packet.size(), 0xAA);
    }
    return bytes;
}

std::vector<int> pids(const Bytes& bytes, std::size_t stride, std::size_t piece, int* losses = nullptr) {
    std::vector<int> found;
    PacketCutter cutter{stride, [&](std::uint64_t, std::uint64_t) { losses != nullptr ? ++*losses : 0; }};
    std::size_t begin = 0;
    std::size_t end = 0;
    while (true) {
        const bool is_end = end == bytes.size();
        const auto window = std::span{bytes}.subspan(begin, end - begin);
        begin += cutter.cut(window, begin, is_end, [&](const TsPacket& packet) {
            found.push_back(packet.pid);
            EXPECT_EQ(bytes[packet.offset], ts_sync_byte);
        });
        if (is_end) {
            return found;
        }
        end = std::min(end + piece, bytes.size());
    }
}

std::vector<int> counting(int first, int count) {
    std::vector<int> numbers(static_cast<std::size_t>(count));
    std::iota(numbers.begin(), numbers.end(), first);
    return numbers;
}

struct Layout {
    std::size_t stride;
    std::size_t prefix;
};

void PrintTo(const Layout& layout, std::ostream* out) {
    *out << layout.stride << "Bytes";
}

class PacketLayouts : public testing::TestWithParam<Layout> {};

TEST_P(PacketLayouts, AreRecognisedAndCutWhateverThePieces) {
    const auto [stride, prefix] = GetParam();
    const Bytes bytes = stream(20, stride, prefix);
    const auto layout = detect_packet_layout(bytes);
    ASSERT_TRUE(layout);
    EXPECT_EQ(layout->stride, stride);
    EXPECT_EQ(layout->first_sync, prefix);
    for (const std::size_t piece :
         {std::size_t{1}, std::size_t{187}, std::size_t{188}, std::size_t{1000}, bytes.size()}) {
        EXPECT_EQ(
            pids(Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(prefix), bytes.end()), stride, piece),
            counting(100, 20))
            << "pieces of " << piece;
    }
}

INSTANTIATE_TEST_SUITE_P(All, PacketLayouts, testing::Values(Layout{188, 0}, Layout{192, 4}, Layout{204, 0}),
                         testing::PrintToStringParamName());

TEST(PacketSync, SkipsJunkInFront) {
    Bytes bytes(1001, 0x11);
    const Bytes packets = stream(10, 188, 0);
    bytes.insert(bytes.end(), packets.begin(), packets.end());
    const auto layout = detect_packet_layout(bytes);
    ASSERT_TRUE(layout);
    EXPECT_EQ(layout->first_sync, 1001U);
}

TEST(PacketSync, FindsPacketsAgainBehindJunkAndTellsTheLoss) {
    Bytes bytes = stream(10, 188, 0);
    Bytes junk(333, 0x11);
    junk[50] = ts_sync_byte;
    junk[50 + 188] = ts_sync_byte; // two at the right distance are not enough
    bytes.insert(bytes.begin() + 188 * 4, junk.begin(), junk.end());
    int losses = 0;
    EXPECT_EQ(pids(bytes, 188, 500, &losses), counting(100, 10));
    EXPECT_EQ(losses, 1);
}

TEST(PacketSync, RefusesWhatIsNoTransportStream) {
    EXPECT_FALSE(detect_packet_layout({}));
    EXPECT_FALSE(detect_packet_layout(Bytes{0x47}));
    EXPECT_FALSE(detect_packet_layout(Bytes(100000, 0)));
    std::mt19937 random{1};
    Bytes noise(64 * 1024);
    std::ranges::generate(noise, [&] { return static_cast<std::uint8_t>(random()); });
    EXPECT_FALSE(detect_packet_layout(noise));
}

TEST(TsPacket, RefusesAnAdaptationFieldBeyondThePacket) {
    Bytes bytes = test::packet(100, 0, false, Bytes(10, 1));
    bytes[4] = 184;
    EXPECT_FALSE(parse_ts_packet(TsPacketBytes{bytes}, 0));
    bytes[4] = 183;
    const auto packet = parse_ts_packet(TsPacketBytes{bytes}, 0);
    ASSERT_TRUE(packet);
    EXPECT_TRUE(packet->payload.empty());
}

} // namespace
} // namespace velmora
