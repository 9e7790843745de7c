#include "receive/receiver.h"

#include "media/file_descriptor.h"
#include "receive/collector.h"
#include "receive/numbered_packets.h"
#include "support/stream_sender.h"
#include "support/udp_port.h"
#include "support/undisturbed.h"
#include "table/stderr_capture.h"

#include "support/test_time.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <latch>
#include <netinet/in.h>
#include <optional>
#include <sched.h>
#include <span>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using test::Bytes;
using test::Collector;
using test::eventually;
using test::numbered_packets;

constexpr std::uint32_t group = 0xEF010203;
constexpr double brisk = 5e6; ///< bytes per second: 40 Mbit/s

class UdpReceiverTest : public testing::Test {
protected:
    std::unique_ptr<Receiver> receive_by(Transport transport, std::uint32_t address = 0) {
        return receive({.transport = transport, .group = address, .port = port}, real_time(),
                       collector.sink());
    }
    SendRecipe recipe(std::uint32_t address = INADDR_LOOPBACK) const {
        return {.target = {.address = address, .port = port}, .bytes_per_second = brisk};
    }
    SendRecipe rtp_recipe() const {
        SendRecipe result = recipe();
        result.rtp = true;
        result.first_sequence = 65000;
        return result;
    }
    /// Sends all of it.
    static SendTruth send(const Bytes& stream, const SendRecipe& how) {
        const StreamSender sender{stream, how};
        sender.wait();
        return sender.truth();
    }

    const std::uint16_t port{free_udp_port(3)};
    const Bytes stream{numbered_packets(7000)};
    Collector collector;
};

TEST_F(UdpReceiverTest, HandsOnUnicastBitForBit) {
    const auto receiver = receive_by(Transport::udp);
    const SendTruth truth = send(stream, recipe());
    ASSERT_TRUE(collector.wait_for(stream.size()));
    EXPECT_EQ(collector.bytes(), stream);
    const ReceptionFacts facts = receiver->facts();
    EXPECT_EQ(facts.bytes, truth.bytes);
    EXPECT_EQ(facts.sender, INADDR_LOOPBACK);
    EXPECT_EQ(facts.lost_in_network, 0U);
    EXPECT_EQ(facts.dropped_by_kernel, 0U);
}

TEST_F(UdpReceiverTest, HandsOnMulticastAndOnlyTheGroupAskedFor) {
    const auto receiver = receive_by(Transport::udp, group);
    Collector of_other;
    const auto other = receive({.transport = Transport::udp, .group = group + 1, .port = port}, real_time(),
                               of_other.sink());
    const Bytes of_other_stream = numbered_packets(70, 100000);
    send(of_other_stream, recipe(group + 1));
    send(stream, recipe(group));
    ASSERT_TRUE(collector.wait_for(stream.size()));
    EXPECT_EQ(collector.bytes(), stream);
    EXPECT_EQ(of_other.bytes(), of_other_stream);
}

TEST_F(UdpReceiverTest, UnicastIsNotMixedWithGroupsOfOthers) {
    Collector of_other;
    const auto other =
        receive({.transport = Transport::udp, .group = group, .port = port}, real_time(), of_other.sink());
    const auto receiver = receive_by(Transport::udp);
    send(numbered_packets(70, 100000), recipe(group));
    ASSERT_TRUE(of_other.wait_for(70 * ts_packet_size));
    send(stream, recipe());
    ASSERT_TRUE(collector.wait_for(stream.size()));
    EXPECT_EQ(collector.bytes(), stream);
}

TEST_F(UdpReceiverTest, PutsRtpInOrder) {
    SendRecipe how = rtp_recipe();
    how.fate = [](std::uint64_t datagram) {
        return DatagramFate{.copies = datagram % 5 == 0 ? 2 : 1,
                            .late_by = datagram % 17 == 3 ? static_cast<int>(datagram % 16) + 1 : 0};
    };
    // What a sender that stood still brings too late is lost.
    expect_undisturbed([&] {
        collector.clear();
        const auto receiver = receive_by(Transport::rtp);
        const SendTruth truth = send(stream, how);
        EXPECT_GT(truth.repeated, 0U);
        return collector.wait_for(stream.size()) && collector.bytes() == stream &&
               receiver->facts().lost_in_network == 0 && receiver->facts().bytes == truth.bytes;
    });
}

TEST_F(UdpReceiverTest, CountsRtpLossExactly) {
    const auto receiver = receive_by(Transport::rtp);
    SendRecipe how = rtp_recipe();
    how.fate = [](std::uint64_t datagram) {
        const bool is_burst = datagram >= 500 && datagram < 550;
        return DatagramFate{.copies = is_burst || datagram % 20 == 10 ? 0 : 1};
    };
    const SendTruth truth = send(stream, how);
    ASSERT_TRUE(collector.wait_for(truth.bytes));
    EXPECT_EQ(receiver->facts().lost_in_network, truth.lost);
    EXPECT_EQ(receiver->facts().bytes, truth.bytes);
}

TEST_F(UdpReceiverTest, WhatFindsNoRoomIsToldApartFromLossInTheNetwork) {
    constexpr std::size_t few = 70; // packets
    constexpr std::size_t more_than_any_buffer = 56'000;
    std::latch stands_still{1};
    std::latch goes_on{1};
    bool is_first = true; // of the receiver's thread
    const auto receiver =
        receive({.transport = Transport::rtp, .port = port}, real_time(), [&](const SharedBlock& /*block*/) {
            if (std::exchange(is_first, false)) {
                stands_still.count_down();
                goes_on.wait();
            }
        });
    SendRecipe how = rtp_recipe();
    how.on_progress = [&](std::size_t bytes) {
        if (bytes == few * ts_packet_size) {
            stands_still.wait();
        } else if (bytes == more_than_any_buffer * ts_packet_size) {
            goes_on.count_down();
        } else if (bytes > more_than_any_buffer * ts_packet_size &&
                   receiver->facts().dropped_by_kernel == 0) {
            std::this_thread::sleep_for(2ms);
        }
    };
    // The system tells what it dropped with what it has room for behind it: that comes while there is room.
    send(numbered_packets(more_than_any_buffer + 7000), how);
    EXPECT_TRUE(eventually([&] { return receiver->facts().dropped_by_kernel > 0; }));
    EXPECT_EQ(receiver->facts().lost_in_network, 0U);
}

TEST_F(UdpReceiverTest, ALostPacketHoldsUpALowRateForAMomentOnly) {
    const auto receiver = receive_by(Transport::rtp);
    SendRecipe how = rtp_recipe();
    how.fate = [](std::uint64_t datagram) { return DatagramFate{.copies = datagram == 1 ? 0 : 1}; };
    send(numbered_packets(21), how);
    EXPECT_TRUE(collector.wait_for(std::size_t{14} * ts_packet_size)) << "nothing comes behind it";
    EXPECT_EQ(receiver->facts().lost_in_network, 1U);
}

TEST_F(UdpReceiverTest, TheFirstDatagramsTellPrivateStreamsApart) {
    for (const bool is_rtp : {false, true}) {
        collector.clear();
        const auto receiver = receive_by(Transport::udp_or_rtp);
        SendRecipe how = recipe();
        how.rtp = is_rtp;
        how.fate = [is_rtp](std::uint64_t datagram) {
            return DatagramFate{.copies = 1, .late_by = is_rtp && datagram % 10 == 5 ? 3 : 0};
        };
        send(stream, how);
        ASSERT_TRUE(collector.wait_for(stream.size())) << is_rtp;
        EXPECT_EQ(collector.bytes(), stream) << is_rtp;
    }
}

TEST_F(UdpReceiverTest, MergesAStreamSplitOverThreePorts) {
    const auto receiver = receive_by(Transport::split);
    SendRecipe how = recipe();
    how.target.ports = 3;
    send(stream, how);
    ASSERT_TRUE(collector.wait_for(stream.size()));
    EXPECT_EQ(collector.bytes(), stream);
}

TEST_F(UdpReceiverTest, DropsRepeatedDatagramsAndJunk) {
    const auto receiver = receive_by(Transport::udp);
    SendRecipe how = recipe();
    how.in_front = Bytes(12, 0x80);
    how.fate = [](std::uint64_t datagram) { return DatagramFate{.copies = datagram % 3 == 0 ? 2 : 1}; };
    const SendTruth truth = send(stream, how);
    ASSERT_TRUE(collector.wait_for(stream.size()));
    EXPECT_EQ(collector.bytes(), stream);
    EXPECT_EQ(receiver->facts().bytes, truth.bytes);
}

/// Sends single datagrams to a port of the loopback.
class DatagramSource {
public:
    /// @param address IPv4 in host byte order, of this machine
    DatagramSource(std::uint32_t address, std::uint16_t port)
        : socket_{::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)} {
        const sockaddr_in own = address_of(address, 0);
        const sockaddr_in target = address_of(INADDR_LOOPBACK, port);
        ::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&own), sizeof own);
        ::connect(socket_.get(), reinterpret_cast<const sockaddr*>(&target), sizeof target);
    }
    void send(std::span<const std::uint8_t> payload) const {
        ::send(socket_.get(), payload.data(), payload.size(), 0);
    }

private:
    static sockaddr_in address_of(std::uint32_t address, std::uint16_t port) {
        sockaddr_in result{};
        result.sin_family = AF_INET;
        result.sin_addr.s_addr = htonl(address);
        result.sin_port = htons(port);
        return result;
    }

    FileDescriptor socket_;
};

TEST_F(UdpReceiverTest, KeepsToOneOfTwoSendersUntilItIsSilent) {
    const StderrCapture errors;
    const auto receiver = receive_by(Transport::udp);
    const DatagramSource first{0x7F000001, port};
    const DatagramSource second{0x7F000002, port};
    constexpr std::size_t datagram = 7 * ts_packet_size;
    const Bytes of_second = numbered_packets(7, 10000);
    for (std::size_t at = 0; at + datagram <= stream.size() / 4; at += datagram) {
        first.send(std::span{stream}.subspan(at, datagram));
        second.send(of_second);
    }
    const std::size_t sent = stream.size() / 4 / datagram * datagram;
    ASSERT_TRUE(collector.wait_for(sent));
    EXPECT_TRUE(std::ranges::equal(collector.bytes(), std::span{stream}.first(sent)));
    EXPECT_EQ(receiver->facts().sender, 0x7F000001U);
    EXPECT_TRUE(eventually([&] {
        second.send(of_second);
        return receiver->facts().sender == 0x7F000002;
    }));
    const auto lines = errors.lines();
    EXPECT_TRUE(std::ranges::any_of(lines, [](const std::string& line) {
        return line.find("127.0.0.2:") != std::string::npos &&
               line.find("sends instead of 127.0.0.1:") != std::string::npos;
    }));
}

TEST_F(UdpReceiverTest, ReportsASenderThatIsIgnoredOnlyWhereTheOtherGoesOn) {
    const StderrCapture errors;
    const auto receiver = receive_by(Transport::udp);
    const DatagramSource first{0x7F000001, port};
    const DatagramSource second{0x7F000002, port};
    const Bytes packets = numbered_packets(7);
    EXPECT_TRUE(eventually([&] {
        first.send(packets);
        second.send(packets);
        return !errors.lines().empty();
    }));
    EXPECT_NE(errors.lines().front().find("127.0.0.2:"), std::string::npos);
    EXPECT_NE(errors.lines().front().find("sends to the same port and is ignored"), std::string::npos);
}

TEST_F(UdpReceiverTest, GoesOnWhenASenderBeginsAgain) {
    for (const auto transport : {Transport::udp, Transport::rtp}) {
        collector.clear();
        const auto receiver = receive_by(transport);
        SendRecipe how = transport == Transport::rtp ? rtp_recipe() : recipe();
        send(stream, how);
        ASSERT_TRUE(collector.wait_for(stream.size()));
        // The new one has another port; it takes over once the old one has been silent for a while.
        how.ssrc = 99;
        how.first_sequence = 3;
        how.loops = true;
        const StreamSender restarted{stream, how};
        ASSERT_TRUE(collector.wait_for(stream.size() * 2));
        EXPECT_EQ(receiver->facts().lost_in_network, 0U);
    }
}

TEST_F(UdpReceiverTest, JoinsOnInterfacesThatComeUpLater) {
    bool is_possible = false;
    std::jthread{[&] {
        is_possible = ::unshare(CLONE_NEWNET) == 0;
        if (!is_possible) {
            return;
        }
        const auto receiver = receive_by(Transport::udp, group);
        ASSERT_EQ(std::system("ip link set lo up"), 0);
        SendRecipe how = recipe(group);
        how.loops = true;
        how.bytes_per_second = 1e5;
        const StreamSender sender{stream, how};
        EXPECT_TRUE(collector.wait_for(1));
        ASSERT_EQ(std::system("ip link set lo down && ip link set lo up"), 0);
        collector.clear();
        EXPECT_TRUE(collector.wait_for(1)) << "behind an interruption";
    }}.join();
    if (!is_possible) {
        GTEST_SKIP() << "no network namespace can be made here";
    }
}

/// Another machine: a network of its own on a thread of its own, where something is done when it is told to.
class OtherMachine {
public:
    explicit OtherMachine(std::function<void()> action)
        : action_{std::move(action)}, thread_{[this] {
              has_network_ = ::unshare(CLONE_NEWNET) == 0;
              id_ = ::gettid();
              ready_.count_down();
              told_.wait();
              if (has_network_) {
                  action_();
              }
          }} {
        ready_.wait();
    }

    bool has_network() const { return has_network_; }
    pid_t id() const { return id_; }
    /// Does what it is for, to the end.
    void act() {
        told_.count_down();
        thread_.join();
    }
    ~OtherMachine() {
        if (thread_.joinable()) {
            has_network_ = false;
            act();
        }
    }
    OtherMachine(const OtherMachine&) = delete;
    OtherMachine& operator=(const OtherMachine&) = delete;

private:
    std::function<void()> action_;
    std::latch ready_{1};
    std::latch told_{1};
    bool has_network_{false};
    pid_t id_{0};
    std::thread thread_;
};

bool run(const std::string& command) {
    return std::system(command.c_str()) == 0;
}

TEST_F(UdpReceiverTest, KeepsItsGroupWhileInterfacesComeGoAndChangeTheirAddress) {
    std::optional<StreamSender> sender;
    SendRecipe how = recipe(group);
    how.target.source = 0x0A090002; // 10.9.0.2
    how.loops = true;
    how.bytes_per_second = 1e5;
    OtherMachine other{[&] {
        ASSERT_TRUE(run("ip address add 10.9.0.2/24 dev far && ip link set far up"));
        sender.emplace(stream, how);
    }};
    bool is_possible = false;
    std::thread{[&] {
        const std::string cable =
            "ip link add near type veth peer name far netns " + std::to_string(other.id());
        is_possible = other.has_network() && ::unshare(CLONE_NEWNET) == 0 && run(cable + " 2>&1");
        if (!is_possible) {
            return;
        }
        const auto receiver = receive_by(Transport::udp, group);
        ASSERT_TRUE(run("ip address add 10.9.0.1/24 dev near && ip link set near up"));
        other.act();
        EXPECT_TRUE(collector.wait_for(1)) << "on an interface that came later";
        ASSERT_TRUE(run("ip address flush dev near && ip address add 10.9.0.77/24 dev near"));
        collector.clear();
        EXPECT_TRUE(collector.wait_for(20'000)) << "behind a change of the address";
        ASSERT_TRUE(run("ip link set near down"));
        collector.clear();
        ASSERT_TRUE(run("ip link set near up"));
        EXPECT_TRUE(collector.wait_for(20'000)) << "behind an interruption";
    }}.join();
    if (!is_possible) {
        GTEST_SKIP() << "no networks can be made here";
    }
}

TEST_F(UdpReceiverTest, APortThatCannotBeOpenedIsRefused) {
    const int taken = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    ASSERT_EQ(::bind(taken, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    try {
        receive_by(Transport::udp);
        ADD_FAILURE() << "it was opened";
    } catch (const ReceptionError& error) {
        EXPECT_EQ(std::string{error.what()},
                  "UDP port " + std::to_string(port) + " is in use by another program");
    }
    ::close(taken);
    EXPECT_THROW(receive({.transport = Transport::udp, .port = 0}, real_time(), collector.sink()),
                 ReceptionError);
}

/// Holds a port together with whoever shares it; nothing where somebody does not.
FileDescriptor share(std::uint16_t port) {
    FileDescriptor socket{::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
    const int yes = 1;
    ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    const bool is_bound =
        ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    return is_bound ? std::move(socket) : FileDescriptor{};
}

TEST_F(UdpReceiverTest, AUnicastPortIsNotTakenFromWhoHoldsIt) {
    const auto first = receive_by(Transport::udp);
    Collector of_second;
    EXPECT_THROW(receive({.transport = Transport::udp, .port = port}, real_time(), of_second.sink()),
                 ReceptionError);
    // Nor by a program that would share it.
    EXPECT_FALSE(share(port));
    send(stream, recipe());
    EXPECT_TRUE(collector.wait_for(stream.size()));
}

TEST_F(UdpReceiverTest, AUnicastPortThatIsSharedAlreadyIsRefused) {
    FileDescriptor sharing = share(port);
    ASSERT_TRUE(sharing);
    EXPECT_THROW(receive_by(Transport::udp), ReceptionError);
    sharing = {};
    EXPECT_NO_THROW(receive_by(Transport::udp));
}

TEST_F(UdpReceiverTest, AGroupIsWatchedByAsManyAsWantTo) {
    Collector of_second;
    const auto first =
        receive({.transport = Transport::udp, .group = group, .port = port}, real_time(), collector.sink());
    const auto second =
        receive({.transport = Transport::udp, .group = group, .port = port}, real_time(), of_second.sink());
    send(stream, recipe(group));
    EXPECT_TRUE(collector.wait_for(stream.size()));
    EXPECT_TRUE(of_second.wait_for(stream.size()));
}

TEST_F(UdpReceiverTest, AnAddressThatIsNoGroupIsRefused) {
    for (const std::uint32_t address : {0x7F000001U, 0xDFFFFFFFU, 0xF0000000U, 0xFFFFFFFFU}) {
        EXPECT_THROW(receive({.transport = Transport::udp, .group = address, .port = port}, real_time(),
                             collector.sink()),
                     ReceptionError)
            << address;
    }
}

TEST_F(UdpReceiverTest, StopsAtOnce) {
    SendRecipe how = recipe();
    how.loops = true;
    const StreamSender sender{stream, how};
    for (const bool has_data : {false, true}) {
        std::vector<std::chrono::steady_clock::duration> times;
        for (int i = 0; i < 9; ++i) {
            collector.clear();
            auto receiver = receive(
                {.transport = Transport::udp, .port = has_data ? port : static_cast<std::uint16_t>(port + 1)},
                real_time(), collector.sink());
            ASSERT_TRUE(!has_data || collector.wait_for(1));
            const auto start = std::chrono::steady_clock::now();
            receiver.reset();
            times.push_back(std::chrono::steady_clock::now() - start);
        }
        std::ranges::nth_element(times, times.begin() + 4);
        EXPECT_LT(times[4], 100ms) << has_data;
    }
}

} // namespace
} // namespace velmora
