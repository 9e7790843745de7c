#include "general/loopback.h"

#include <arpa/inet.h>
#include <array>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <net/if.h>
#include <net/route.h>
#include <sched.h>
#include <string>
#include <sys/ioctl.h>
#include <thread>

namespace {

constexpr std::uint32_t group = 0xE1000001;

void bring_loopback_up(int socket) {
    ifreq request{};
    std::strncpy(request.ifr_name, "lo", IFNAMSIZ - 1);
    ioctl(socket, SIOCGIFFLAGS, &request);
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP | IFF_MULTICAST);
    ioctl(socket, SIOCSIFFLAGS, &request);
}

void route_groups_to_loopback(int socket) {
    std::string device = "lo";
    rtentry route{};
    const auto address = [](std::uint32_t value) {
        sockaddr_in text{};
        text.sin_family = AF_INET;
        text.sin_addr.s_addr = htonl(value);
        sockaddr generic{};
        std::memcpy(&generic, &text, sizeof(generic));
        return generic;
    };
    route.rt_dst = address(0xE0000000);
    route.rt_genmask = address(0xF0000000);
    route.rt_flags = RTF_UP;
    route.rt_dev = device.data();
    ioctl(socket, SIOCADDRT, &route);
}

/** Runs a test in a network of its own, in which groups are reached over the loopback interface. */
void in_own_network(bool with_route, const std::function<void()>& body) {
    bool possible = false;
    std::jthread([&] {
        possible = unshare(CLONE_NEWNET) == 0;
        if (!possible) {
            return;
        }
        {
            const Descriptor control(Socket_UDPSocket());
            bring_loopback_up(control);
            if (with_route) {
                route_groups_to_loopback(control);
            }
        }
        body();
    }).join();
    if (!possible) {
        GTEST_SKIP() << "no network namespace can be made here";
    }
}

std::string receive(int socket) {
    std::array<char, 64> buffer{};
    std::uint32_t address = 0;
    std::uint16_t port = 0;
    if (Socket_IsRxPacketUS(socket, 200'000) != 1) {
        return {};
    }
    const int size = Socket_ReceiveFrom(socket, buffer.data(), buffer.size(), &address, &port);
    return {buffer.data(), static_cast<std::size_t>(std::max(size, 0))};
}

TEST(SocketMulticast, ServersShareAPortAndReceiveTheirGroup) {
    in_own_network(true, [] {
        const Descriptor first(Socket_MUDPServer(group, 5000));
        const Descriptor second(Socket_MUDPServer(group, 5000));
        ASSERT_GT(first, 0);
        ASSERT_GT(second, 0);
        const Descriptor sender(Socket_UDPSocket());
        EXPECT_EQ(Socket_SetMulticast(sender, 1, 1, 0), 0);
        ASSERT_EQ(Socket_SendTo(sender, "hello", 5, group, 5000), 5);
        EXPECT_EQ(receive(first), "hello");
        EXPECT_EQ(receive(second), "hello");
    });
}

TEST(SocketMulticast, MembershipOfAnExistingSocketComesAndGoes) {
    in_own_network(true, [] {
        const Descriptor server(Socket_UDPServer(5000));
        const Descriptor sender(Socket_UDPSocket());
        EXPECT_EQ(Socket_JoinMulticast(server, group, 0), 0);
        Socket_SendTo(sender, "out", 3, group, 5000);
        EXPECT_EQ(receive(server), "") << "joining as such does nothing";
        EXPECT_EQ(Socket_MulticastServer(server, group), server);
        Socket_SendTo(sender, "in", 2, group, 5000);
        EXPECT_EQ(receive(server), "in");
        EXPECT_EQ(Socket_RemoveMulticast(server), 0);
        Socket_SendTo(sender, "still", 5, group, 5000);
        EXPECT_EQ(receive(server), "still") << "removing does nothing";
        EXPECT_EQ(Socket_LeaveMulticast(server, group, 0), 0);
        testing::internal::CaptureStderr();
        EXPECT_EQ(Socket_LeaveMulticast(server, group, 0), -1);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "setsockopt() failed: Cannot assign requested address\n");
    });
}

TEST(SocketMulticast, JoiningWithoutARouteIsReportedAndZero) {
    in_own_network(false, [] {
        const Descriptor server(Socket_UDPServer(5000));
        testing::internal::CaptureStderr();
        EXPECT_EQ(Socket_MulticastServer(server, group), 0);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "setsockopt() failed: No such device\n");
        testing::internal::CaptureStderr();
        EXPECT_EQ(Socket_MUDPServer(group, 5001), 0);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "setsockopt() failed: No such device\n");
    });
}

TEST(SocketMulticast, SendingOptionsAreSet) {
    const Descriptor sender(Socket_UDPSocket());
    EXPECT_EQ(Socket_SetMulticast(sender, 7, 0, loopback), 0);
    in_addr outgoing{};
    socklen_t bytes = sizeof(outgoing);
    ASSERT_EQ(getsockopt(sender, IPPROTO_IP, IP_MULTICAST_IF, &outgoing, &bytes), 0);
    EXPECT_EQ(ntohl(outgoing.s_addr), loopback);
    EXPECT_EQ(option_of(sender, IPPROTO_IP, IP_MULTICAST_TTL), 7);
    EXPECT_EQ(option_of(sender, IPPROTO_IP, IP_MULTICAST_LOOP), 0);
}

TEST(SocketMulticast, SendingOptionsThatAreRefusedAreIgnored) {
    EXPECT_EQ(Socket_SetMulticast(-1, 1, 1, 0), 0);
}

} // namespace
