// Times of a stream that is muxed anew.
#pragma once

#include "media/timeline.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <optional>

namespace velmora {

/// Lays the times of a source's streams onto one axis that begins by the machine's clock. A stream whose
/// times jump goes on without a gap. Streams keep their distance wherever they share one time: RTP tells how
/// they belong together only after a while (RFC 3550, 6.4.1), and a source may begin again.
class RemuxClock {
public:
    /// Where the axis is at `origin`: room for what is decoded before the first picture.
    static constexpr Ticks lead{90000};

    explicit RemuxClock(SteadyTime origin) : origin_{origin} {}

    /// @param stream any number that tells it from the others
    /// @param time presentation time of its next packet
    /// @return the same time on the axis
    Ticks map(int stream, Ticks time, SteadyTime now);
    /// Where the axis is by the machine's clock.
    Ticks due(SteadyTime now) const;

private:
    struct Stream {
        Ticks offset{0}; ///< of the axis
        Ticks last_time{0};
        SteadyTime last_arrival;
    };

    Ticks share(int stream, Ticks offset) const;

    SteadyTime origin_;
    std::map<int, Stream> streams_;
};

/// Finds decoding times for pictures that come in decoding order with presentation times only.
class DecodingTimes {
public:
    /// @return a time no later than `presentation` and later than all before it, as long as pictures are
    /// moved by no more than four places
    Ticks next(Ticks presentation);

private:
    static constexpr std::size_t depth = 4; ///< pictures
    static constexpr Ticks assumed_interval{3600};

    std::array<Ticks, depth + 1> waiting_{}; ///< presentation times not used yet, in order
    std::optional<Ticks> last_;
};

} // namespace velmora
