#include "receive/receiver.h"

#include "receive/collector.h"
#include "receive/fake_rtsp_server.h"
#include "support/rtsp_server_process.h"
#include "support/stream_maker.h"
#include "ts/continuity.h"
#include "ts/ts_packet.h"

#include "support/test_time.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>
#include <mutex>
#include <netinet/in.h>
#include <ostream>
#include <span>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using test::Collector;
using test::eventually;
using test::FakeRtspServer;
using test::rtsp_answer;
using Clock = std::chrono::steady_clock;

constexpr auto video_only = "v=0\r\no=- 1 1 IN IP4 127.0.0.1\r\ns=test\r\nc=IN IP4 0.0.0.0\r\nt=0 0\r\n"
                            "m=video 0 RTP/AVP 96\r\na=rtpmap:96 H264/90000\r\na=control:track1\r\n";

bool asks(const std::string& request, const std::string& method) {
    return request.starts_with(method + ' ');
}

/// Plays along up to PLAY, and never sends anything.
std::optional<std::string> play_silently(const std::string& request) {
    if (asks(request, "DESCRIBE")) {
        return rtsp_answer(request, "200 OK", "Content-Type: application/sdp\r\n", video_only);
    }
    if (asks(request, "SETUP")) {
        const bool is_tcp = request.find("RTP/AVP/TCP") != std::string::npos;
        return rtsp_answer(request, "200 OK",
                           is_tcp ? "Session: 1\r\nTransport: RTP/AVP/TCP;unicast;interleaved=0-1\r\n"
                                  : "Session: 1\r\nTransport: RTP/AVP;unicast;client_port=5000-5001;"
                                    "server_port=5002-5003\r\n");
    }
    return rtsp_answer(request, "200 OK", "Session: 1\r\n");
}

std::unique_ptr<Receiver> receive_from(const std::string& url, Collector& collector,
                                       Transport transport = Transport::rtsp_by_tcp) {
    return receive({.transport = transport, .rtsp_url = url}, real_time(), collector.sink());
}

/// Median time that a receiver takes to end; `is_in_state` is waited for before.
Clock::duration stop_time(const std::string& url, const std::function<bool()>& is_in_state) {
    std::vector<Clock::duration> times;
    for (int i = 0; i < 5; ++i) {
        Collector collector;
        auto receiver = receive_from(url, collector);
        EXPECT_TRUE(eventually(is_in_state));
        std::this_thread::sleep_for(i *
                                    25ms); // it waits for a tenth of a second at a time: at any moment of it
        const auto start = Clock::now();
        receiver.reset();
        times.push_back(Clock::now() - start);
    }
    std::ranges::nth_element(times, times.begin() + 2);
    return times[2];
}

/// Counts what a script is asked.
class CountingScript {
public:
    explicit CountingScript(FakeRtspServer::Script script) : script_{std::move(script)} {}

    FakeRtspServer::Script script() {
        return [this](const std::string& request) {
            ++count_;
            return script_(request);
        };
    }
    /// As many more requests have come as a state takes.
    std::function<bool()> reached(int requests) {
        return [this, requests] {
            if (count_ < requests) {
                return false;
            }
            count_ = 0;
            return true;
        };
    }

private:
    FakeRtspServer::Script script_;
    std::atomic<int> count_{0};
};

struct Fault {
    std::string name;
    FakeRtspServer::Script script;
};

void PrintTo(const Fault& fault, std::ostream* out) {
    *out << fault.name;
}

FakeRtspServer::Script always(const std::string& status, const std::string& headers = {}) {
    return [=](const std::string& request) { return rtsp_answer(request, status, headers); };
}

FakeRtspServer::Script describing(const std::string& description) {
    return [=](const std::string& request) -> std::optional<std::string> {
        return asks(request, "DESCRIBE")
                   ? rtsp_answer(request, "200 OK", "Content-Type: application/sdp\r\n", description)
                   : play_silently(request);
    };
}

FakeRtspServer::Script refusing(const std::string& method, const std::string& status) {
    return [=](const std::string& request) -> std::optional<std::string> {
        return asks(request, method) ? rtsp_answer(request, status) : play_silently(request);
    };
}

class RtspFaults : public testing::TestWithParam<Fault> {};

TEST_P(RtspFaults, IsTriedAgainAndLeftAtOnce) {
    const FakeRtspServer server{GetParam().script};
    Collector collector;
    auto receiver = receive_from(server.url(), collector);
    EXPECT_TRUE(eventually([&] { return server.connections() >= 2; }));
    const auto start = Clock::now();
    receiver.reset();
    EXPECT_LT(Clock::now() - start, 1s);
    EXPECT_TRUE(collector.bytes().empty());
}

INSTANTIATE_TEST_SUITE_P(
    All, RtspFaults,
    testing::Values(
        Fault{"NotFound", always("404 Not Found")},
        Fault{"Unauthorized", always("401 Unauthorized", "WWW-Authenticate: Basic realm=\"x\"\r\n")},
        Fault{"SessionNotFound", refusing("PLAY", "454 Session Not Found")},
        Fault{"TransportRefused", refusing("SETUP", "461 Unsupported Transport")},
        Fault{"NoMedia", describing("v=0\r\no=- 1 1 IN IP4 127.0.0.1\r\ns=x\r\nt=0 0\r\n")},
        Fault{"EmptyDescription", describing("")},
        Fault{"LongHeader", always("200 OK", "X-Long: " + std::string(10000, 'x') + "\r\n")},
        Fault{"Garbage", [](const std::string&) { return std::string(2000, '\x81') + "\r\n\r\n"; }},
        Fault{"SilentBehindAPicture",
              [](const std::string& request) -> std::optional<std::string> {
                  if (!asks(request, "PLAY")) {
                      return play_silently(request);
                  }
                  // 14 bytes of RTP on channel 0: one part of a picture.
                  const std::string packet = "$\0\0\x0E\x80\x60\0\x01\0\0\0\0\0\0\0\x01\x41\x9A"s;
                  return rtsp_answer(request, "200 OK", "Session: 1\r\n") + packet;
              }},
        Fault{"InterleavedGarbage",
              [](const std::string& request) -> std::optional<std::string> {
                  if (!asks(request, "PLAY")) {
                      return play_silently(request);
                  }
                  // Channels nobody asked for, lengths beyond what follows.
                  return rtsp_answer(request, "200 OK", "Session: 1\r\n") + "$\x09\x00\x02xy$\x00\xFF\xFFz"s;
              }}),
    [](const auto& all) { return all.param.name; });

TEST(RtspConnecting, TheOtherTransportIsTriedWhenTheChosenOneBringsNothing) {
    std::mutex mutex;
    std::vector<std::string> setups;
    const FakeRtspServer server{[&](const std::string& request) {
        if (asks(request, "SETUP")) {
            const std::lock_guard lock{mutex};
            setups.push_back(request.find("RTP/AVP/TCP") != std::string::npos ? "tcp" : "udp");
        }
        return play_silently(request);
    }};
    Collector collector;
    const auto start = Clock::now();
    const auto receiver = receive_from(server.url(), collector, Transport::rtsp_by_udp);
    EXPECT_TRUE(eventually([&] {
        const std::lock_guard lock{mutex};
        return setups.size() >= 2;
    }));
    EXPECT_GT(Clock::now() - start, 2900ms);
    const std::lock_guard lock{mutex};
    EXPECT_EQ(setups, (std::vector<std::string>{"udp", "tcp"}));
}

TEST(RtspConnecting, AServerThatSendsByOneTransportOnlyIsReceivedByIt) {
    const auto file = make_stream({.width = 320, .height = 180, .bitrate = "300k"});
    const RtspServerProcess server{rtsp_pipeline(file, RtspPayload::elementary, "h264", "none"), "tcp"};
    Collector collector;
    const auto receiver = receive_from(server.url(), collector, Transport::rtsp_by_udp);
    EXPECT_TRUE(collector.wait_for(1));
}

TEST(RtspConnecting, AnAddressIsMadeOfServerPortAndSession) {
    std::mutex mutex;
    std::string first;
    const FakeRtspServer server{[&](const std::string& request) {
        const std::lock_guard lock{mutex};
        first = first.empty() ? request : first;
        return rtsp_answer(request, "404 Not Found");
    }};
    Collector collector;
    const auto receiver = receive({.transport = Transport::rtsp_by_tcp,
                                   .rtsp_url = "127.0.0.1",
                                   .rtsp_session = "front/door.sdp",
                                   .rtsp_port = server.port()},
                                  real_time(), collector.sink());
    EXPECT_TRUE(eventually([&] {
        const std::lock_guard lock{mutex};
        return first.find(" rtsp://127.0.0.1:" + std::to_string(server.port()) +
                          "/front/door.sdp RTSP/1.0") != std::string::npos;
    })) << first;
    EXPECT_THROW(receive({.transport = Transport::rtsp_by_tcp}, real_time(), collector.sink()),
                 ReceptionError);
}

TEST(RtspConnecting, ReceptionComesBackWithTheServer) {
    const auto file = make_stream({.width = 320, .height = 180, .bitrate = "300k"});
    const std::string pipeline = rtsp_pipeline(file, RtspPayload::elementary, "h264", "none");
    auto server = std::make_unique<RtspServerProcess>(pipeline);
    const std::uint16_t port = server->port();
    Collector collector;
    const auto receiver = receive_from(server->url(), collector);
    ASSERT_TRUE(collector.wait_for(1));
    server->kill();
    server = std::make_unique<RtspServerProcess>(pipeline, "", port);
    collector.clear();
    EXPECT_TRUE(collector.wait_for(100 * ts_packet_size)) << "after a crash";
}

TEST(RtspStopping, TakesAMomentInEveryState) {
    constexpr auto limit = 100ms;
    EXPECT_LT(stop_time("rtsp://127.0.0.1:1/refused", [] { return true; }), limit) << "refused";
    {
        CountingScript mute{[](const std::string&) { return std::nullopt; }};
        const FakeRtspServer server{mute.script()};
        EXPECT_LT(stop_time(server.url(), mute.reached(1)), limit) << "no answer";
    }
    {
        CountingScript silent{play_silently};
        const FakeRtspServer server{silent.script()};
        // OPTIONS, DESCRIBE, SETUP, PLAY
        EXPECT_LT(stop_time(server.url(), silent.reached(4)), limit) << "no data";
    }
}

TEST(RtspStopping, TakesAMomentWhileReceiving) {
    const auto file = make_stream({.width = 320, .height = 180, .bitrate = "300k"});
    for (const auto transport : {Transport::rtsp_by_tcp, Transport::rtsp_by_udp}) {
        std::vector<Clock::duration> times;
        for (int i = 0; i < 3; ++i) {
            // A new one each time: it does not survive every client that leaves at once.
            const RtspServerProcess server{rtsp_pipeline(file, RtspPayload::elementary, "h264", "none")};
            Collector collector;
            auto receiver = receive_from(server.url(), collector, transport);
            ASSERT_TRUE(collector.wait_for(1));
            const auto start = Clock::now();
            receiver.reset();
            times.push_back(Clock::now() - start);
        }
        std::ranges::nth_element(times, times.begin() + 1);
        EXPECT_LT(times[1], 110ms) << (transport == Transport::rtsp_by_udp ? "UDP" : "TCP");
    }
}

/// A transport stream in RTP over the connection itself (RFC 2326, 10.12), with one RTP packet left out.
std::string interleaved(const std::vector<std::uint8_t>& stream, std::size_t left_out) {
    constexpr std::size_t payload = 7 * ts_packet_size;
    std::string sent;
    for (std::size_t at = 0, number = 0; at < stream.size(); at += payload, ++number) {
        const auto part = std::span{stream}.subspan(at, std::min(payload, stream.size() - at));
        if (number == left_out) {
            continue;
        }
        const std::size_t size = 12 + part.size();
        sent += {'$', '\0', static_cast<char>(size >> 8U), static_cast<char>(size)};
        sent += {'\x80', '\x21', static_cast<char>(number >> 8U), static_cast<char>(number)};
        sent += std::string(4, '\0') + "test"; // time and source
        sent.append(part.begin(), part.end());
    }
    return sent;
}

TEST(RtspFaults, WhatIsMissingOfATransportStreamIsCountedAndSeenBehind) {
    StreamRecipe recipe;
    recipe.width = 320;
    recipe.height = 240;
    recipe.bitrate = "400k";
    recipe.duration = 2;
    std::ifstream file{make_stream(recipe), std::ios::binary};
    const std::vector<std::uint8_t> stream{std::istreambuf_iterator<char>{file}, {}};
    const std::string description =
        "v=0\r\no=- 1 1 IN IP4 127.0.0.1\r\ns=test\r\nc=IN IP4 0.0.0.0\r\nt=0 0\r\n"
        "m=video 0 RTP/AVP 33\r\na=control:track1\r\n";
    const FakeRtspServer server{[&](const std::string& request) {
        auto answer = describing(description)(request);
        return asks(request, "PLAY") ? *answer + interleaved(stream, 40) : answer;
    }};
    Collector collector;
    const auto receiver = receive_from(server.url(), collector);
    ASSERT_TRUE(eventually([&] { return receiver->facts().lost_in_network > 0; }));
    ASSERT_TRUE(collector.wait_for(stream.size() / 2));
    EXPECT_EQ(receiver->facts().lost_in_network, 1U);
    const auto bytes = collector.bytes();
    ContinuityWatch watch;
    int broken = 0;
    for (std::size_t at = 0; at + ts_packet_size <= bytes.size(); at += ts_packet_size) {
        const auto packet = parse_ts_packet(std::span{bytes}.subspan(at).first<ts_packet_size>(), at);
        broken += packet && watch.check(*packet) == Continuity::broken ? 1 : 0;
    }
    EXPECT_EQ(broken, 1);
}

} // namespace
} // namespace velmora
