#include "live/datagram_times.h"

#include "support/udp_port.h"

#include <array>
#include <cstring>
#include <ctime>
#include <netinet/in.h>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr std::size_t largest_datagram = 65'536;

std::optional<std::chrono::nanoseconds> arrival_time(const msghdr& message) {
    for (const cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr;
         part = CMSG_NXTHDR(const_cast<msghdr*>(&message), const_cast<cmsghdr*>(part))) {
        if (part->cmsg_level == SOL_SOCKET && part->cmsg_type == SCM_TIMESTAMPNS) {
            timespec time{};
            std::memcpy(&time, CMSG_DATA(part), sizeof(time));
            return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
        }
    }
    return std::nullopt;
}

void fetch(int socket, TimedDatagrams& datagrams) {
    const std::size_t begin = datagrams.bytes.size();
    datagrams.bytes.resize(begin + largest_datagram);
    iovec place{.iov_base = datagrams.bytes.data() + begin, .iov_len = largest_datagram};
    alignas(cmsghdr) std::array<char, 128> control{};
    msghdr message{};
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t size = recvmsg(socket, &message, MSG_DONTWAIT);
    datagrams.bytes.resize(begin + static_cast<std::size_t>(size > 0 ? size : 0));
    if (const auto when = arrival_time(message); size > 0 && when) {
        datagrams.arrivals.push_back({.begin = begin, .when = *when});
    }
}

} // namespace

DatagramTimes::DatagramTimes()
    : m_port(free_udp_port()), m_socket(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    constexpr int room = 4 << 20;
    constexpr int on = 1;
    setsockopt(m_socket, SOL_SOCKET, SO_RCVBUF, &room, sizeof(room));
    setsockopt(m_socket, SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof(on));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(m_port);
    if (bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        close(m_socket);
        throw std::runtime_error("no port to collect on");
    }
}

DatagramTimes::~DatagramTimes() {
    close(m_socket);
}

TimedDatagrams DatagramTimes::collect(Milliseconds duration) const {
    constexpr int longest_wait = 100; // ms
    TimedDatagrams datagrams;
    const auto end = Clock::now() + duration;
    pollfd readable{.fd = m_socket, .events = POLLIN, .revents = 0};
    while (Clock::now() < end) {
        if (poll(&readable, 1, longest_wait) > 0) {
            fetch(m_socket, datagrams);
        }
    }
    return datagrams;
}
