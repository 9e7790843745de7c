// Takes transport packets out of datagrams.
#pragma once

#include "receive/rtp_reorder.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace velmora {

class DatagramUnpacker {
public:
    enum class Framing {
        either,            ///< of the others, as the first datagrams of a sender show
        transport_packets, ///< bare, or behind whatever header
        rtp,
    };

    explicit DatagramUnpacker(Framing framing);

    void feed(std::span<const std::uint8_t> datagram, SteadyTime now);
    /// Gives up on RTP packets that are late.
    void expire(SteadyTime now);
    /// When expire() has something to do.
    std::optional<SteadyTime> deadline() const { return reorder_.deadline(); }
    /// What follows comes from another sender.
    void restart();

    /// The packets found since the last call, in order.
    std::vector<std::uint8_t> take_packets();
    /// RTP packets that never came.
    std::uint64_t lost() const { return reorder_.lost(); }

private:
    void decide(std::span<const std::uint8_t> datagram);
    void feed_rtp(std::span<const std::uint8_t> datagram, SteadyTime now);
    void feed_packets(std::span<const std::uint8_t> bytes);
    void append(std::span<const std::uint8_t> bytes);
    bool repeats_last(std::size_t begin) const;

    const Framing asked_for_;
    Framing framing_;
    RtpReorder reorder_;
    std::vector<std::uint8_t> packets_;
    std::vector<std::uint8_t> last_; ///< packets of the last datagram without RTP
};

} // namespace velmora
