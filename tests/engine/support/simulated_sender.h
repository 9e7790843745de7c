// When the packets of a live stream arrive in a simulation.
#pragma once

#include "support/simulated_screen.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <vector>

namespace velmora::test {

/// Packets that arrive together.
struct Arrival {
    Milliseconds at{0};
    std::vector<std::uint8_t> packets; ///< of 188 bytes, whole
};
using Arrivals = std::vector<Arrival>;

/// A stream taken apart at the beginnings of its pictures, in the order of decoding.
class SentStream {
public:
    struct SentPicture {
        Milliseconds decoded{0}; ///< DTS since the first picture's
        Milliseconds shown{0};   ///< PTS since the first picture's DTS
        std::vector<std::uint8_t> packets;
    };

    /// @param file of one video stream, without a jump in its time
    /// @param times how often it is sent on end, with time stamps and counters that go on
    explicit SentStream(const std::filesystem::path& file, int times = 1);

    const std::vector<SentPicture>& pictures() const { return pictures_; }

    /// Each picture arrives in one moment when it is to be decoded.
    Arrivals whole_pictures() const;
    /// Each picture goes on a wire of this width when it is to be decoded and the wire is free, in datagrams
    /// of seven packets.
    Arrivals on_wire(double bytes_per_second) const;

private:
    std::vector<SentPicture> pictures_;
};

/// @param clock how much faster the sender's clock goes, such as 200e-6
Arrivals with_drift(Arrivals arrivals, double clock);
/// Each comes later by this, but not before what was sent before it.
/// @param delay of the one of this number
Arrivals with_jitter(Arrivals arrivals, const std::function<Milliseconds(std::size_t)>& delay);
/// What was sent within such a time comes at its end, together.
Arrivals in_bursts(Arrivals arrivals, Milliseconds length);
/// What was sent within `length` from `begin` on comes at the end of that, together.
Arrivals held_up(Arrivals arrivals, Milliseconds begin, Milliseconds length);
/// @param is_lost asked for each number
Arrivals with_loss(Arrivals arrivals, const std::function<bool(std::size_t)>& is_lost);

} // namespace velmora::test
