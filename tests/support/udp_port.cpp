#include "support/udp_port.h"

#include <netinet/in.h>
#include <random>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace {

bool is_free(std::uint16_t port) {
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    const bool bound = ::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(socket);
    return bound;
}

} // namespace

std::uint16_t free_udp_port(int count) {
    constexpr int tries = 1000;
    std::random_device random;
    std::uniform_int_distribution<int> ports{20000, 32000};
    for (int i = 0; i < tries; ++i) {
        const int first = ports(random);
        int port = first;
        while (port < first + count && is_free(static_cast<std::uint16_t>(port))) {
            ++port;
        }
        if (port == first + count) {
            return static_cast<std::uint16_t>(first);
        }
    }
    throw std::runtime_error("no UDP port is free");
}
