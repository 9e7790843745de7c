// Where live packets come from.
#pragma once

#include "media/packet_block.h"
#include "pacing/time_source.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

namespace velmora {

/// A split stream comes on this one and the ports after it.
constexpr unsigned ports_of_a_split_stream = 3;

/// Why nothing can be received; what() is the end of a sentence.
class ReceptionError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// How a stream travels.
enum class Transport {
    udp,         ///< transport packets in datagrams
    rtp,         ///< RFC 2250
    udp_or_rtp,  ///< whichever comes
    split,       ///< over several ports
    rtsp_by_udp, ///< RFC 2326
    rtsp_by_tcp
};

constexpr bool is_rtsp(Transport transport) {
    return transport == Transport::rtsp_by_udp || transport == Transport::rtsp_by_tcp;
}

struct ReceiverSetup {
    Transport transport{Transport::udp};
    std::uint32_t group{0};     ///< IPv4 in host byte order; 0 = unicast
    std::uint16_t port{0};      ///< of UDP and RTP
    std::string rtsp_url{};     ///< a URL, or the server's address
    std::string rtsp_session{}; ///< path of the session where rtsp_url is no URL
    std::uint16_t rtsp_port{0};
};

/// What was received so far.
struct ReceptionFacts {
    std::uint32_t sender{0}; ///< of the last datagram, IPv4 in host byte order; 0 = none yet
    std::uint64_t bytes{0};  ///< of transport packets handed on
    /// Datagrams, by RTP's sequence numbers; of RTSP the units of a transport stream that came damaged: what
    /// is missing of other streams libavformat does not tell.
    std::uint64_t lost_in_network{0};
    std::uint64_t dropped_by_kernel{0}; ///< datagrams for which the socket's buffer had no room
};

/// Owns its thread and sockets from construction to destruction, which takes 100 ms at most in every state.
/// A source that falls silent, restarts or refuses is waited for or tried again without end.
class Receiver {
public:
    Receiver() = default;
    virtual ~Receiver() = default;
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

    /// Never waits for the receiving thread; from any thread.
    virtual ReceptionFacts facts() const = 0;
    /// Why nothing comes at the moment, one sentence; empty where nothing is known. From any thread.
    virtual std::string trouble() const { return {}; }
};

/// Begins to receive; does not wait for data.
/// @param time outlives the receiver
/// @param sink called on the receiver's thread
/// @throws ReceptionError when the socket cannot be opened
std::unique_ptr<Receiver> receive(const ReceiverSetup& setup, TimeSource& time, BlockSink sink);

} // namespace velmora
