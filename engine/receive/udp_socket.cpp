#include "receive/udp_socket.h"

#include "diagnostics/log.h"
#include "receive/address_text.h"
#include "receive/receiver.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <string>
#include <system_error>
#include <utility>

namespace velmora {

namespace {

constexpr std::size_t largest_datagram = 65536;
constexpr int wanted_buffer = 8 << 20; ///< bytes
constexpr int enough_buffer = 4 << 20; ///< bytes: 400 ms at 80 Mbit/s

bool is_multicast(std::uint32_t address) {
    return IN_MULTICAST(address);
}

void switch_option(int socket, int level, int option, int value) {
    ::setsockopt(socket, level, option, &value, sizeof value);
}

/// @param address IPv4 in host byte order
bool bind_to(int socket, std::uint32_t address, std::uint16_t port) {
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_addr.s_addr = htonl(address);
    local.sin_port = htons(port);
    return ::bind(socket, reinterpret_cast<const sockaddr*>(&local), sizeof local) == 0;
}

/// Others listen to groups on this port, which keeps nobody from unicast, but no one to unicast on any
/// address.
bool is_held_by_groups_alone(std::uint16_t port) {
    const auto is_free = [port](std::uint32_t address) {
        const FileDescriptor probe{::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
        return bind_to(probe.get(), address, port);
    };
    return !is_free(INADDR_ANY) && is_free(INADDR_LOOPBACK);
}

template <class Value>
Value read_value(const cmsghdr* control) {
    Value value{};
    std::memcpy(&value, CMSG_DATA(control), sizeof value);
    return value;
}

} // namespace

UdpSocket::UdpSocket(std::uint32_t group, std::uint16_t port)
    : socket_{::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)}, group_{group},
      bytes_(batch * largest_datagram) {
    if (port == 0) {
        throw ReceptionError("there is no port to receive on");
    }
    if (group != 0 && !is_multicast(group)) {
        throw ReceptionError(address_text(group) + " is no multicast group");
    }
    switch_option(descriptor(), SOL_SOCKET, SO_RXQ_OVFL, 1);
    switch_option(descriptor(), SOL_SOCKET, SO_TIMESTAMPNS, 1);
    switch_option(descriptor(), IPPROTO_IP, IP_PKTINFO, 1);
    // Groups that others on this machine have joined are none of ours.
    switch_option(descriptor(), IPPROTO_IP, IP_MULTICAST_ALL, 0);
    ask_for_buffer(port);
    // Who else listens to a group gets every datagram, too; a unicast port would be taken from its owner.
    const bool is_shared = group_ != 0 || is_held_by_groups_alone(port);
    switch_option(descriptor(), SOL_SOCKET, SO_REUSEADDR, is_shared ? 1 : 0);
    if (!bind_to(descriptor(), group_, port)) {
        const int reason = errno;
        throw ReceptionError("UDP port " + std::to_string(port) +
                             (reason == EADDRINUSE
                                  ? " is in use by another program"
                                  : " cannot be opened: " + std::generic_category().message(reason)));
    }
    switch_option(descriptor(), SOL_SOCKET, SO_REUSEADDR, group_ != 0 ? 1 : 0);
    if (group_ != 0) {
        membership_.emplace(descriptor(), group_);
        membership_->refresh();
    }
    for (std::size_t i = 0; i < batch; ++i) {
        parts_.at(i) = {.iov_base = bytes_.data() + i * largest_datagram, .iov_len = largest_datagram};
    }
}

void UdpSocket::ask_for_buffer(std::uint16_t port) const {
    // The first needs a privilege, the second is bounded by net.core.rmem_max.
    if (::setsockopt(descriptor(), SOL_SOCKET, SO_RCVBUFFORCE, &wanted_buffer, sizeof wanted_buffer) != 0) {
        switch_option(descriptor(), SOL_SOCKET, SO_RCVBUF, wanted_buffer);
    }
    int granted = 0;
    socklen_t size = sizeof granted;
    ::getsockopt(descriptor(), SOL_SOCKET, SO_RCVBUF, &granted, &size);
    if (granted < enough_buffer) {
        log_incident("live", "buffer",
                     "the receive buffer of port " + std::to_string(port) + " holds " +
                         std::to_string(granted / 1024) +
                         " KiB only: datagrams may be lost unless net.core.rmem_max is raised");
    }
}

void UdpSocket::refresh_membership() {
    if (membership_) {
        membership_->refresh();
    }
}

std::span<const Datagram> UdpSocket::receive() {
    for (std::size_t i = 0; i < batch; ++i) {
        messages_.at(i).msg_hdr = {.msg_name = &senders_.at(i),
                                   .msg_namelen = sizeof(sockaddr_in),
                                   .msg_iov = &parts_.at(i),
                                   .msg_iovlen = 1,
                                   .msg_control = controls_.at(i).data(),
                                   .msg_controllen = control_size,
                                   .msg_flags = 0};
    }
    const int received = ::recvmmsg(descriptor(), messages_.data(), batch, MSG_DONTWAIT, nullptr);
    std::size_t count = 0;
    for (std::size_t i = 0; i < static_cast<std::size_t>(std::max(received, 0)); ++i) {
        Datagram datagram{
            .payload = {static_cast<const std::uint8_t*>(parts_.at(i).iov_base), messages_.at(i).msg_len},
            .sender = {.address = ntohl(senders_.at(i).sin_addr.s_addr),
                       .port = ntohs(senders_.at(i).sin_port)}};
        in_addr destination{.s_addr = htonl(group_)};
        read_control(messages_.at(i).msg_hdr, datagram, destination);
        const std::uint32_t target = ntohl(destination.s_addr);
        if (group_ != 0 ? target == group_ : !is_multicast(target)) {
            datagrams_.at(count++) = datagram;
        }
    }
    return std::span{datagrams_}.first(count);
}

void UdpSocket::read_control(msghdr& header, Datagram& datagram, in_addr& destination) {
    for (cmsghdr* control = CMSG_FIRSTHDR(&header); control != nullptr;
         control = CMSG_NXTHDR(&header, control)) {
        const std::pair kind{control->cmsg_level, control->cmsg_type};
        if (kind == std::pair{SOL_SOCKET, SO_RXQ_OVFL}) {
            const auto counter = read_value<std::uint32_t>(control);
            dropped_ += counter - std::exchange(drop_counter_, counter);
        } else if (kind == std::pair{SOL_SOCKET, SCM_TIMESTAMPNS}) {
            const auto stamp = read_value<timespec>(control);
            datagram.stamp = std::chrono::seconds{stamp.tv_sec} + std::chrono::nanoseconds{stamp.tv_nsec};
        } else if (kind == std::pair<int, int>{IPPROTO_IP, IP_PKTINFO}) {
            destination = read_value<in_pktinfo>(control).ipi_addr;
        }
    }
}

} // namespace velmora
