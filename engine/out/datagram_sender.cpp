#include "out/datagram_sender.h"

#include "diagnostics/log.h"
#include "ts/ts_packet.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <netinet/in.h>
#include <random>
#include <string>
#include <utility>

namespace velmora {

namespace {

constexpr std::size_t rtp_header_size = 12;
constexpr std::uint8_t rtp_version_2 = 0x80;
constexpr std::uint8_t rtp_payload_mp2t = 33;
constexpr int multicast_hops = 32;

void put_32(std::span<std::uint8_t> bytes, std::size_t at, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i) {
        bytes[at + i] = static_cast<std::uint8_t>(value >> (24U - 8U * i));
    }
}

} // namespace

DatagramSender::DatagramSender(const DatagramTarget& target)
    : target_{target}, socket_{::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)} {
    if (!socket_) {
        throw std::runtime_error{std::string{"there is no socket to send with: "} + std::strerror(errno)};
    }
    ::setsockopt(socket_.get(), IPPROTO_IP, IP_MULTICAST_TTL, &multicast_hops, sizeof multicast_hops);
    std::random_device random;
    source_ = random();
    sequence_ = static_cast<std::uint16_t>(random());
}

/// So that the way there is looked up once, not for each datagram. Without a network there may be one later.
bool DatagramSender::connect() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(target_.ip);
    address.sin_port = htons(target_.port);
    is_connected_ = is_connected_ || ::connect(socket_.get(), reinterpret_cast<const sockaddr*>(&address),
                                               sizeof address) == 0;
    if (!is_connected_) {
        log_incident("out", "connect",
                     std::string{"there is no way to the address, nothing sent: "} + std::strerror(errno));
    }
    return is_connected_;
}

void DatagramSender::begin_datagram() {
    auto& datagram = datagrams_.emplace_back();
    if (!spare_.empty()) {
        datagram = std::move(spare_.back());
        spare_.pop_back();
        datagram.clear();
    }
    datagram.reserve(rtp_header_size + packets_per_datagram * ts_packet_size);
    if (target_.by_rtp) {
        datagram.resize(rtp_header_size);
        datagram[0] = rtp_version_2;
        datagram[1] = rtp_payload_mp2t;
        datagram[2] = static_cast<std::uint8_t>(sequence_ >> 8U);
        datagram[3] = static_cast<std::uint8_t>(sequence_ & 0xFFU);
        put_32(datagram, 8, source_);
        ++sequence_;
    }
}

void DatagramSender::add(std::span<const std::uint8_t> packet) {
    if (datagrams_.empty()) {
        begin_datagram();
    }
    auto& datagram = datagrams_.back();
    datagram.insert(datagram.end(), packet.begin(), packet.end());
    const std::size_t front = target_.by_rtp ? rtp_header_size : 0;
    if (datagram.size() >= front + packets_per_datagram * ts_packet_size) {
        begin_datagram();
    }
}

void DatagramSender::end_datagram() {
    const std::size_t front = target_.by_rtp ? rtp_header_size : 0;
    if (!datagrams_.empty() && datagrams_.back().size() > front) {
        begin_datagram();
    }
}

void DatagramSender::flush(std::uint32_t time) {
    if (datagrams_.size() < 2) {
        return;
    }
    const std::size_t count = datagrams_.size() - 1;
    parts_.assign(count, {});
    messages_.assign(count, {});
    for (std::size_t i = 0; i < count; ++i) {
        if (target_.by_rtp) {
            put_32(datagrams_[i], 4, time);
        }
        parts_[i] = {datagrams_[i].data(), datagrams_[i].size()};
        messages_[i].msg_hdr.msg_iov = &parts_[i];
        messages_[i].msg_hdr.msg_iovlen = 1;
    }
    if (connect()) {
        send_all();
    }
    const auto in_progress = datagrams_.end() - 1;
    spare_.insert(spare_.end(), std::make_move_iterator(datagrams_.begin()),
                  std::make_move_iterator(in_progress));
    datagrams_.erase(datagrams_.begin(), in_progress);
}

void DatagramSender::send_all() {
    bool was_refused = false;
    for (std::size_t sent = 0; sent < messages_.size();) {
        const int now = ::sendmmsg(socket_.get(), &messages_[sent],
                                   static_cast<unsigned int>(messages_.size() - sent), 0);
        if (now > 0) {
            sent += static_cast<std::size_t>(now);
            was_refused = false;
        } else if (errno == ECONNREFUSED && !std::exchange(was_refused, true)) {
            // Somebody answered that nobody listens, to an earlier one: this one was not sent yet.
        } else {
            if (errno != ECONNREFUSED) {
                log_incident("out", "send", std::string{"datagrams were not sent: "} + std::strerror(errno));
            }
            ++sent; // that one is lost, the others may go
        }
    }
}

} // namespace velmora
