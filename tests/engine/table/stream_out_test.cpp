// A played file streamed out, through the engine's table.
#include "datagram_collector.h"
#include "live_under_test.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t packet_size = 188;
constexpr int play_mask = 1 << PLAYBACK_BIT;
constexpr int stream_out_mask = 1 << PLAYBACK_STREAMING_BIT;
constexpr int view_mask = 1 << STREAMING_BIT;

/// Sets a file and where it is sent to, and starts both.
int play_and_send(EngineUnderTest& engine, const std::filesystem::path& file, std::uint16_t port,
                  PROTOCOL protocol = Protocol_UDPTS) {
    playback_setup_t setup{};
    std::strncpy(setup.file_name, file.c_str(), sizeof setup.file_name - 1);
    setup.speed = PLAYER_SPD_NORMAL;
    setup.ip = INADDR_LOOPBACK;
    setup.port = port;
    setup.protocol = protocol;
    engine.table().Velmora_set_playback_param(engine.handle(), setup);
    return engine.table().Velmora_start(engine.handle(), play_mask | stream_out_mask);
}

/// Whether a packet was put between those of the file: null packets, and announcements without payload.
bool is_inserted(const std::uint8_t* packet) {
    const bool is_null = (packet[1] & 0x1FU) == 0x1F && packet[2] == 0xFF;
    const bool announces =
        (packet[3] & 0x30U) == 0x20 && packet[4] == packet_size - 5 && (packet[5] & 0x80U) != 0;
    return is_null || announces;
}

bool is_table(const std::uint8_t* packet) {
    const unsigned pid = ((packet[1] & 0x1FU) << 8U) | packet[2];
    return pid == 0 || pid == 0x1000;
}

/// The packets of datagrams without what was put between them; tables left out, since some are the file's and
/// some are not.
Bytes media_of(const DatagramCollector::Datagrams& datagrams, std::size_t header = 0) {
    Bytes media;
    for (const auto& datagram : datagrams) {
        for (std::size_t at = header; at + packet_size <= datagram.size(); at += packet_size) {
            if (!is_inserted(&datagram[at]) && !is_table(&datagram[at])) {
                media.insert(media.end(), datagram.begin() + static_cast<std::ptrdiff_t>(at),
                             datagram.begin() + static_cast<std::ptrdiff_t>(at + packet_size));
            }
        }
    }
    return media;
}

class StreamOut : public testing::Test {
protected:
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
};

TEST_F(StreamOut, SendsEveryPacketOfTheFileUnchangedInOrder) {
    const auto file = make_stream(small_live_stream());
    const Bytes expected = media_of({stream_bytes(small_live_stream())});
    for (const PROTOCOL protocol : {Protocol_UDPTS, Protocol_RTPUDP}) {
        const DatagramCollector collector;
        ASSERT_EQ(play_and_send(engine_, file, collector.port(), protocol), 0);
        EXPECT_EQ(engine_.info().action_bit, play_mask | stream_out_mask);
        DatagramCollector::Datagrams datagrams;
        const std::size_t header = protocol == Protocol_RTPUDP ? 12 : 0;
        constexpr std::size_t many = 1000;
        while (datagrams.size() < many && media_of(datagrams, header).size() < expected.size()) {
            const auto more = collector.take(10);
            datagrams.insert(datagrams.end(), more.begin(), more.end());
        }
        EXPECT_TRUE(media_of(datagrams, header) == expected);
        EXPECT_EQ(engine_.info().pb_stream_info.frame_count, 100);
        EXPECT_EQ(engine_.info().pb_stream_info.protocol, protocol);
        engine_.table().Velmora_stop(engine_.handle(), stream_out_mask);
        EXPECT_EQ(engine_.info().action_bit, play_mask);
        engine_.stop();
    }
}

TEST_F(StreamOut, SendsWhereTheFileThatPlaysWasToBeSent) {
    const auto file = make_stream(small_live_stream());
    const DatagramCollector collector;
    ASSERT_EQ(play_and_send(engine_, file, collector.port(), Protocol_UDPTS), 0);
    engine_.table().Velmora_stop(engine_.handle(), stream_out_mask);
    playback_setup_t next{}; // for a file that is not started yet
    next.protocol = Protocol_RTPUDP;
    engine_.table().Velmora_set_playback_param(engine_.handle(), next);
    ASSERT_EQ(engine_.table().Velmora_start(engine_.handle(), stream_out_mask), 0);
    EXPECT_EQ(engine_.info().pb_stream_info.protocol, Protocol_UDPTS);
    EXPECT_FALSE(collector.take(10).empty());
}

TEST_F(StreamOut, InPauseOnlyTablesAndNullPacketsAreSent) {
    const DatagramCollector collector;
    ASSERT_EQ(play_and_send(engine_, make_stream(small_live_stream()), collector.port()), 0);
    ASSERT_FALSE(collector.take(20).empty());
    engine_.pause();
    ASSERT_TRUE(engine_.wait_for_info(
        [](const velmora_info_t& info) { return info.player_info.state == PLAYRE_STATUS_PAUSING; }));
    // What was on its way when the pause came.
    for (int tries = 0; tries < 50 && !media_of(collector.take(1)).empty(); ++tries) {
    }
    const auto datagrams = collector.take(10);
    ASSERT_EQ(datagrams.size(), 10U);
    for (const auto& datagram : datagrams) {
        EXPECT_EQ(datagram.size(), 7 * packet_size);
        EXPECT_TRUE(is_table(datagram.data()));
    }
    EXPECT_TRUE(media_of(datagrams).empty());
}

TEST_F(StreamOut, ALiveViewOfItSeesNoErrorAcrossPauseAndSeek) {
    EngineUnderTest viewer{library_};
    const std::uint16_t port = free_udp_port();
    ASSERT_EQ(view(viewer, live_setup(port)), 0);
    StreamRecipe recipe = small_live_stream();
    recipe.duration = 10;
    ASSERT_EQ(play_and_send(engine_, make_stream(recipe), port), 0);
    ASSERT_TRUE(viewer.wait_for_pictures(40));
    engine_.pause();
    engine_.resume();
    viewer.forget_pictures();
    ASSERT_TRUE(viewer.wait_for_pictures(25));
    engine_.seek(6);
    ASSERT_TRUE(
        viewer.wait_for_info([&](const velmora_info_t&) { return viewer.last_number().value_or(0) > 160; }));
    EXPECT_EQ(viewer.info().get_strm_info.inp_dec_error, 0);
    EXPECT_EQ(viewer.info().action_bit, view_mask);
}

TEST_F(StreamOut, WithoutAFileOrAnAddressNothingIsSent) {
    EXPECT_NE(engine_.table().Velmora_start(engine_.handle(), stream_out_mask), 0);
    ASSERT_EQ(engine_.play(make_stream(small_live_stream())), 0);
    EXPECT_NE(engine_.table().Velmora_start(engine_.handle(), stream_out_mask), 0);
    EXPECT_EQ(engine_.info().action_bit, play_mask);
}

} // namespace
