#include "receive/retransmitter.h"

#include "diagnostics/log.h"
#include "ts/ts_packet.h"

#include <algorithm>
#include <cerrno>
#include <span>
#include <string>
#include <sys/socket.h>
#include <system_error>

namespace velmora {

namespace {

constexpr std::size_t datagram_size = 7 * ts_packet_size;

} // namespace

Retransmitter::Retransmitter(std::uint32_t address, std::uint16_t port)
    : socket_{::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)} {
    if (!socket_) {
        throw ReceptionError("nothing can be sent on: " + std::generic_category().message(errno));
    }
    target_.sin_family = AF_INET;
    target_.sin_addr.s_addr = htonl(address);
    target_.sin_port = htons(port);
}

void Retransmitter::send(const PacketBlock& block) const {
    for (std::span<const std::uint8_t> rest{block.bytes}; !rest.empty();) {
        const auto datagram = rest.first(std::min(datagram_size, rest.size()));
        rest = rest.subspan(datagram.size());
        if (::sendto(socket_.get(), datagram.data(), datagram.size(), MSG_DONTWAIT,
                     reinterpret_cast<const sockaddr*>(&target_), sizeof target_) < 0) {
            log_incident("live", "retransmission",
                         "a datagram could not be sent on: " + std::generic_category().message(errno));
        }
    }
}

} // namespace velmora
