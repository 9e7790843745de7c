#include "data_board.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

constexpr std::uint16_t command_port = 3100;
constexpr int patience_ms = 5000;
/// First bytes of the test's own datagrams, which no command has.
constexpr int marker_tag = 0x4D;

int run(const std::string& command) {
    return std::system(command.c_str()); // NOLINT(cert-env33-c,concurrency-mt-unsafe): fixed commands
}

sockaddr_in endpoint(const char* host, std::uint16_t port) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    inet_pton(AF_INET, host, &result.sin_addr);
    return result;
}

std::string text_of(const in_addr& host) {
    std::array<char, INET_ADDRSTRLEN> text{};
    inet_ntop(AF_INET, &host, text.data(), text.size());
    return text.data();
}

/// Hears the command port, and tells of each datagram where it was sent and when.
int command_socket() {
    const int result = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    setsockopt(result, IPPROTO_IP, IP_PKTINFO, &on, sizeof on);
    setsockopt(result, SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof on);
    const sockaddr_in any = endpoint("0.0.0.0", command_port);
    return bind(result, reinterpret_cast<const sockaddr*>(&any), sizeof any) == 0 ? result : -1;
}

BoardMessage receive(int socket) {
    std::array<std::uint8_t, 2048> bytes{};
    std::array<char, 512> control{};
    sockaddr_in source{};
    iovec place{bytes.data(), bytes.size()};
    msghdr header{};
    header.msg_name = &source;
    header.msg_namelen = sizeof source;
    header.msg_iov = &place;
    header.msg_iovlen = 1;
    header.msg_control = control.data();
    header.msg_controllen = control.size();
    const ssize_t size = recvmsg(socket, &header, 0);
    BoardMessage message;
    message.bytes.assign(bytes.begin(), bytes.begin() + (size < 0 ? 0 : size));
    message.source = text_of(source.sin_addr);
    for (cmsghdr* entry = CMSG_FIRSTHDR(&header); entry != nullptr; entry = CMSG_NXTHDR(&header, entry)) {
        if (entry->cmsg_level == IPPROTO_IP && entry->cmsg_type == IP_PKTINFO) {
            in_pktinfo info{};
            std::memcpy(&info, CMSG_DATA(entry), sizeof info);
            message.destination = text_of(info.ipi_addr);
        } else if (entry->cmsg_level == SOL_SOCKET && entry->cmsg_type == SO_TIMESTAMPNS) {
            timespec stamp{};
            std::memcpy(&stamp, CMSG_DATA(entry), sizeof stamp);
            message.time = std::chrono::system_clock::time_point{std::chrono::seconds{stamp.tv_sec} +
                                                                 std::chrono::nanoseconds{stamp.tv_nsec}};
        }
    }
    return message;
}

} // namespace

DataBoard::DataBoard()
    : previous_network_{open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC)} { // NOLINT: no mode to give
    if (previous_network_ >= 0 && unshare(CLONE_NEWNET) == 0) {
        build();
    }
}

DataBoard::~DataBoard() {
    if (socket_ >= 0) {
        close(socket_);
    }
    if (previous_network_ >= 0) {
        setns(previous_network_, CLONE_NEWNET);
        close(previous_network_);
    }
}

void DataBoard::build() {
    if (run("ip link set lo up && ip link add player type veth peer name board") != 0) {
        return;
    }
    // A thread with a network of its own opens the board's socket, which keeps that network alive.
    bool built = false;
    std::jthread{[&] {
        const std::string player_network = "/proc/" + std::to_string(getpid()) + "/ns/net";
        const std::string own_id = std::to_string(gettid());
        if (unshare(CLONE_NEWNET) != 0) {
            return;
        }
        built = run("nsenter --net=" + player_network + " ip link set board netns " + own_id) == 0 &&
                run("ip link set lo up && ip addr add 10.99.0.2/24 dev board && ip link set board up") == 0;
        socket_ = command_socket();
    }}.join();
    connected_ =
        built && socket_ >= 0 && run("ip addr add 10.99.0.1/24 dev player && ip link set player up") == 0;
}

std::vector<BoardMessage> DataBoard::messages() {
    // Datagrams on the one cable keep their order: what came before the marker is all that there is.
    ++marker_;
    const std::array<std::uint8_t, 2> marker{marker_tag, static_cast<std::uint8_t>(marker_)};
    const int sender = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const sockaddr_in board = endpoint(address, command_port);
    sendto(sender, marker.data(), marker.size(), 0, reinterpret_cast<const sockaddr*>(&board), sizeof board);
    close(sender);
    for (;;) {
        pollfd readable{socket_, POLLIN, 0};
        if (poll(&readable, 1, patience_ms) != 1) {
            throw std::runtime_error{"the cable to the board is broken"};
        }
        BoardMessage message = receive(socket_);
        if (message.bytes == std::vector<int>{marker_tag, marker_}) {
            return received_;
        }
        received_.push_back(std::move(message));
    }
}
