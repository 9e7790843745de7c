#include "receive/receiver.h"

#include "receive/collector.h"
#include "support/clips.h"
#include "support/rtsp_server_process.h"
#include "support/stream_maker.h"
#include "support/stream_probe.h"

#include "ts/packet_builder.h"

#include "support/test_time.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <netinet/in.h>
#include <ostream>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using test::Collector;
using test::eventually;

struct RtspCase {
    std::string name;
    Transport transport;
    RtspPayload payload;
    std::string video;
    std::string audio;
};

void PrintTo(const RtspCase& rtsp_case, std::ostream* out) {
    *out << rtsp_case.name;
}

/// The server's MPEG-2 parser loses B pictures.
std::filesystem::path clip(const std::string& video, const std::string& audio) {
    return make_stream({.codec = video,
                        .width = 320,
                        .height = 180,
                        .bframes = video == "mpeg2" ? 0 : 2,
                        .bitrate = "300k",
                        .audio = audio});
}

std::unique_ptr<Receiver> receive_from(const std::string& url, Transport transport, Collector& collector) {
    return receive({.transport = transport, .rtsp_url = url}, real_time(), collector.sink());
}

/// Times of the packets that carry a clock, seconds.
std::vector<double> clock_times(const std::vector<std::uint8_t>& stream) {
    std::vector<double> times;
    for (std::size_t at = 0; at + ts_packet_size <= stream.size(); at += ts_packet_size) {
        const auto packet = std::span{stream}.subspan(at, ts_packet_size);
        if ((packet[3] & 0x20U) != 0 && packet[4] >= 7 && (packet[5] & 0x10U) != 0) {
            times.push_back(static_cast<double>((std::uint64_t{packet[6]} << 25U) | (packet[7] << 17U) |
                                                (packet[8] << 9U) | (packet[9] << 1U) | (packet[10] >> 7U)) /
                            90000);
        }
    }
    return times;
}

class RtspReception : public testing::TestWithParam<RtspCase> {};

TEST_P(RtspReception, MakesATransportStreamThatPlaysFromItsFirstPicture) {
    const RtspCase& what = GetParam();
    const RtspServerProcess server{
        rtsp_pipeline(clip(what.video, what.audio), what.payload, what.video, what.audio)};
    Collector collector;
    const auto receiver = receive_from(server.url(), what.transport, collector);
    // Two of the clip's five seconds.
    ASSERT_TRUE(eventually([&] {
        const auto times = clock_times(collector.bytes());
        return !times.empty() && times.back() - times.front() > 2;
    }));
    const auto bytes = collector.bytes();
    EXPECT_EQ(bytes.size() % ts_packet_size, 0U);
    EXPECT_GE(receiver->facts().bytes, bytes.size());
    EXPECT_EQ(receiver->facts().sender, INADDR_LOOPBACK);

    const test::ScratchDirectory directory;
    const auto file = directory.file("received.ts");
    test::write_file(file, bytes);
    const ProbedStream video{file, "v:0"};
    EXPECT_EQ(video.text("codec_name"), what.video == "mpeg2" ? "mpeg2video" : what.video);
    EXPECT_EQ(video.number("width"), 320);
    // All pictures can be decoded, from the first on: the server says nothing of the codec in the stream
    // itself.
    EXPECT_GT(video.number("nb_read_frames"), 45);
    if (what.audio != "none") {
        const ProbedStream audio{file, "a:0"};
        EXPECT_EQ(audio.text("codec_name"), what.audio);
        EXPECT_GT(audio.number("nb_read_frames"), 60);
        EXPECT_LT(std::abs(audio.number("start_time") - video.number("start_time")), 0.3);
    }
    const auto clock = clock_times(bytes);
    EXPECT_GT(clock.front(), 0);
    for (std::size_t i = 1; i < clock.size(); ++i) {
        EXPECT_GE(clock[i], clock[i - 1]);
        EXPECT_LE(clock[i] - clock[i - 1], 0.1);
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, RtspReception,
    testing::Values(
        RtspCase{"H264AndAacOverUdp", Transport::rtsp_by_udp, RtspPayload::elementary, "h264", "aac"},
        RtspCase{"H264AndAacOverTcp", Transport::rtsp_by_tcp, RtspPayload::elementary, "h264", "aac"},
        RtspCase{"HevcAndMp2OverTcp", Transport::rtsp_by_tcp, RtspPayload::elementary, "hevc", "mp2"},
        RtspCase{"H264AndOpusOverUdp", Transport::rtsp_by_udp, RtspPayload::elementary, "h264", "opus"},
        RtspCase{"Mpeg2AndMp3OverTcp", Transport::rtsp_by_tcp, RtspPayload::elementary, "mpeg2", "mp3"},
        RtspCase{"TransportStreamOverUdp", Transport::rtsp_by_udp, RtspPayload::transport_stream, "h264",
                 "aac"},
        RtspCase{"TransportStreamOverTcp", Transport::rtsp_by_tcp, RtspPayload::transport_stream, "h264",
                 "mp2"}),
    [](const auto& all) { return all.param.name; });

} // namespace
} // namespace velmora
