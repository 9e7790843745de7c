#include "support/pcr_schedule.h"
#include "support/stream_sender.h"
#include "support/udp_port.h"

#include <gtest/gtest.h>

#include <limits>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

using Bytes = std::vector<std::uint8_t>;
using std::chrono::milliseconds;

/** Packets that carry their number; every tenth has a PCR, `pcr_step` after the one before. */
Bytes numbered_packets(int count, milliseconds pcr_step = milliseconds{10}) {
    Bytes stream;
    for (int i = 0; i < count; ++i) {
        Bytes packet(188, 0xFF);
        packet[0] = 0x47;
        packet[1] = 1;
        packet[3] = 0x30;
        packet[4] = 7;
        packet[5] = 0;
        if (i % 10 == 0) {
            const auto base = static_cast<std::uint64_t>(i / 10 * pcr_step.count() * 90);
            packet[5] = 0x10;
            for (unsigned byte = 0; byte < 4; ++byte) {
                packet[6 + byte] = static_cast<std::uint8_t>(base >> (25U - 8U * byte));
            }
            packet[10] = static_cast<std::uint8_t>((base & 1U) << 7U);
            packet[11] = 0;
        }
        packet[187] = static_cast<std::uint8_t>(i);
        stream.insert(stream.end(), packet.begin(), packet.end());
    }
    return stream;
}

class Receiving {
public:
    Receiving() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port_);
        EXPECT_EQ(::bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        const timeval patience{.tv_sec = 2, .tv_usec = 0};
        ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    }
    ~Receiving() { ::close(socket_); }
    Receiving(const Receiving&) = delete;
    Receiving& operator=(const Receiving&) = delete;

    std::uint16_t port() const { return port_; }
    Bytes next() {
        Bytes datagram(2000);
        sockaddr_in from{};
        socklen_t size = sizeof from;
        const auto received = ::recvfrom(socket_, datagram.data(), datagram.size(), 0,
                                         reinterpret_cast<sockaddr*>(&from), &size);
        datagram.resize(static_cast<std::size_t>(std::max<ssize_t>(received, 0)));
        sender_ = ntohl(from.sin_addr.s_addr);
        return datagram;
    }
    std::uint32_t sender() const { return sender_; }

private:
    std::uint16_t port_{free_udp_port()};
    int socket_{::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
    std::uint32_t sender_{0};
};

constexpr double at_once = std::numeric_limits<double>::infinity();

TEST(PcrSchedule, FollowsTheClockAndGoesOnBehindIt) {
    const auto schedule = pcr_schedule(numbered_packets(25));
    ASSERT_EQ(schedule.size(), 26U);
    EXPECT_EQ(schedule[0], milliseconds{0});
    EXPECT_EQ(schedule[5], milliseconds{5});
    EXPECT_EQ(schedule[20], milliseconds{20});
    EXPECT_EQ(schedule[25], milliseconds{25});
    EXPECT_EQ(pcr_schedule(numbered_packets(25, milliseconds{2000}))[25], milliseconds{0}) << "jumps";
}

TEST(StreamSender, LosesRepeatsAndDelaysAsTold) {
    Receiving receiving;
    StreamSender sender{numbered_packets(10),
                        {.target = {.port = receiving.port(), .source = 0x7F000002},
                         .packets_per_datagram = 2,
                         .bytes_per_second = at_once,
                         .fate = [](std::uint64_t datagram) -> DatagramFate {
                             return {.copies = datagram == 1 ? 0 : (datagram == 3 ? 2 : 1),
                                     .late_by = datagram == 0 ? 2 : 0};
                         }}};
    std::vector<int> last_packets;
    for (int i = 0; i < 5; ++i) {
        const Bytes datagram = receiving.next();
        ASSERT_EQ(datagram.size(), 2U * 188);
        last_packets.push_back(datagram.back());
    }
    EXPECT_EQ(last_packets, (std::vector{5, 1, 7, 7, 9}));
    EXPECT_EQ(receiving.sender(), 0x7F000002U);
    sender.wait();
    const SendTruth truth = sender.truth();
    EXPECT_EQ(truth.datagrams, 4U);
    EXPECT_EQ(truth.lost, 1U);
    EXPECT_EQ(truth.repeated, 1U);
    EXPECT_EQ(truth.bytes, 8U * 188);
}

TEST(StreamSender, PutsAnRtpHeaderInFront) {
    Receiving receiving;
    const StreamSender sender{numbered_packets(14),
                              {.target = {.port = receiving.port()},
                               .rtp = true,
                               .first_sequence = 65535,
                               .ssrc = 0x01020304,
                               .bytes_per_second = at_once}};
    const Bytes first = receiving.next();
    const Bytes second = receiving.next();
    ASSERT_EQ(first.size(), 12U + 7 * 188);
    EXPECT_EQ(Bytes(first.begin(), first.begin() + 12), (Bytes{0x80, 33, 255, 255, 0, 0, 0, 0, 1, 2, 3, 4}));
    EXPECT_EQ(Bytes(second.begin() + 2, second.begin() + 4), (Bytes{0, 0}));
}

TEST(StreamSender, KeepsTheClocksPaceAndPauses) {
    Receiving receiving;
    StreamSender sender{numbered_packets(200), {.target = {.port = receiving.port()}, .loops = true}};
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 29; ++i) {
        ASSERT_FALSE(receiving.next().empty());
    }
    /* 28 datagrams of 7 packets, 1 ms each, lie before the last one. */
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds{190});
    sender.pause();
    const auto paused = sender.truth().datagrams;
    for (auto received = std::uint64_t{29}; received < paused; ++received) {
        ASSERT_FALSE(receiving.next().empty());
    }
    sender.resume();
    EXPECT_FALSE(receiving.next().empty());
}

} // namespace
