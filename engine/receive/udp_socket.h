// A socket that receives datagrams, many at a time.
#pragma once

#include "media/file_descriptor.h"
#include "receive/multicast_membership.h"
#include "receive/sender_lock.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <sys/socket.h>
#include <sys/uio.h>
#include <vector>

#include <netinet/in.h>

namespace velmora {

/// What came in one datagram; the payload is valid until the next call of the socket.
struct Datagram {
    std::span<const std::uint8_t> payload;
    Sender sender;
    std::chrono::nanoseconds stamp{0}; ///< when the kernel got it, by the system's clock; 0 = not told
};

class UdpSocket {
public:
    /// Binds to a port, and to the group when there is one.
    /// @param group IPv4 in host byte order; 0 means unicast to any of this machine's addresses
    /// @throws ReceptionError also when the group is none, or the port is another program's
    UdpSocket(std::uint32_t group, std::uint16_t port);

    /// The datagrams that are there, in the order of their arrival; at most `batch`. Never waits.
    std::span<const Datagram> receive();
    /// Follows the machine's interfaces; about once a second.
    void refresh_membership();

    int descriptor() const { return socket_.get(); }
    /// Datagrams for which there was no room in the socket's buffer.
    std::uint64_t dropped() const { return dropped_; }

    static constexpr std::size_t batch = 32;

private:
    /// Room for the control messages asked for: drop count, destination, time of arrival.
    static constexpr std::size_t control_size = 128;

    void ask_for_buffer(std::uint16_t port) const;
    void read_control(msghdr& header, Datagram& datagram, in_addr& destination);

    FileDescriptor socket_;
    std::uint32_t group_; ///< 0 = unicast
    std::optional<MulticastMembership> membership_;
    std::vector<std::uint8_t> bytes_;
    std::array<iovec, batch> parts_{};
    std::array<sockaddr_in, batch> senders_{};
    std::array<std::array<std::byte, control_size>, batch> controls_{};
    std::array<mmsghdr, batch> messages_{};
    std::array<Datagram, batch> datagrams_{};
    std::uint32_t drop_counter_{0}; ///< the kernel's, which wraps
    std::uint64_t dropped_{0};
};

} // namespace velmora
