#include "datagram_collector.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

DatagramCollector::DatagramCollector() : socket_{::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)} {
    constexpr int room = 4 << 20;
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port_);
    if (::bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw std::runtime_error{"no port to collect on"};
    }
}

DatagramCollector::~DatagramCollector() {
    ::close(socket_);
}

DatagramCollector::Datagrams DatagramCollector::take(std::size_t count,
                                                     std::chrono::milliseconds longest_gap) const {
    Datagrams datagrams;
    std::vector<std::uint8_t> buffer(65'536);
    pollfd readable{socket_, POLLIN, 0};
    while (datagrams.size() < count && ::poll(&readable, 1, static_cast<int>(longest_gap.count())) > 0) {
        const ssize_t size = ::recv(socket_, buffer.data(), buffer.size(), 0);
        if (size >= 0) {
            datagrams.emplace_back(buffer.begin(), buffer.begin() + size);
        }
    }
    return datagrams;
}
