#include "support/lossy_wire.h"

#include <algorithm>
#include <limits>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace {

sockaddr_in socket_address(std::uint32_t address, unsigned port) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_addr.s_addr = htonl(address);
    result.sin_port = htons(static_cast<std::uint16_t>(port));
    return result;
}

} // namespace

LossyWire::LossyWire(const WireTarget& target, Fate fate)
    : target_{target}, fate_{std::move(fate)}, socket_{::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)} {
    const in_addr interface { .s_addr = htonl(target.source != 0 ? target.source : INADDR_LOOPBACK) };
    const sockaddr_in source = socket_address(target.source, 0);
    if (::setsockopt(socket_, IPPROTO_IP, IP_MULTICAST_IF, &interface, sizeof interface) != 0 ||
        ::bind(socket_, reinterpret_cast<const sockaddr*>(&source), sizeof source) != 0) {
        ::close(socket_);
        throw std::runtime_error("cannot send from this address");
    }
}

LossyWire::~LossyWire() {
    ::close(socket_);
}

DatagramFate LossyWire::put(std::vector<std::uint8_t> datagram) {
    const DatagramFate fate = fate_ ? fate_(count_) : DatagramFate{};
    if (fate.late_by > 0) {
        late_.push_back({.due = count_ + static_cast<unsigned>(fate.late_by),
                         .number = count_,
                         .copies = fate.copies,
                         .datagram = std::move(datagram)});
    } else {
        send(datagram, count_, fate.copies);
    }
    send_late(count_);
    ++count_;
    return fate;
}

void LossyWire::flush() {
    send_late(std::numeric_limits<std::uint64_t>::max());
}

void LossyWire::send_late(std::uint64_t due) {
    std::ranges::stable_sort(late_, {}, &Late::due);
    const auto waiting = std::ranges::upper_bound(late_, due, {}, &Late::due);
    std::for_each(late_.begin(), waiting,
                  [this](const Late& late) { send(late.datagram, late.number, late.copies); });
    late_.erase(late_.begin(), waiting);
}

void LossyWire::send(std::span<const std::uint8_t> datagram, std::uint64_t number, int copies) const {
    const auto turn = static_cast<unsigned>(number % static_cast<unsigned>(target_.ports));
    const sockaddr_in target = socket_address(target_.address, target_.port + turn);
    for (int i = 0; i < copies; ++i) {
        ::sendto(socket_, datagram.data(), datagram.size(), 0, reinterpret_cast<const sockaddr*>(&target),
                 sizeof target);
    }
}
