// Sends transport packets in datagrams, bare or by RTP.
#pragma once

#include "media/file_descriptor.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <sys/socket.h>
#include <vector>

namespace velmora {

struct DatagramTarget {
    std::uint32_t ip{0}; ///< IPv4 in host byte order, unicast or multicast
    std::uint16_t port{0};
    bool by_rtp{false}; ///< RFC 2250, payload type 33
};

/// Not thread-safe. Nobody listening is no error.
class DatagramSender {
public:
    static constexpr std::size_t packets_per_datagram = 7;

    /// @throws std::runtime_error when there is no socket to be had
    explicit DatagramSender(const DatagramTarget& target);

    /// Puts a packet into the datagram in progress, which is kept until flush() when it is full.
    void add(std::span<const std::uint8_t> packet);
    /// The datagram in progress will go as it is; what comes next begins another one.
    void end_datagram();
    /// Sends all datagrams in one call, the one in progress left out. Never waits.
    /// @param time of sending, for RTP, unit 1/90000 s
    void flush(std::uint32_t time);

private:
    bool connect();
    void begin_datagram();
    void send_all();

    const DatagramTarget target_;
    FileDescriptor socket_;
    bool is_connected_{false};
    std::uint16_t sequence_{0};
    std::uint32_t source_{0};                          ///< SSRC
    std::vector<std::vector<std::uint8_t>> datagrams_; ///< the last one in progress
    std::vector<std::vector<std::uint8_t>> spare_;     ///< room of datagrams that were sent
    std::vector<iovec> parts_;                         ///< of the call that sends
    std::vector<mmsghdr> messages_;                    ///< likewise
};

} // namespace velmora
