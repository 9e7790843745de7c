// Time on the two axes of the engine: the timeline of what is played, and the machine's steady clock.
#pragma once

#include <chrono>
#include <cstdint>
#include <ratio>

namespace velmora {

/// The axis of a played stream: 0 is its first picture, unit 1/90000 s (ISO/IEC 13818-1 PTS units,
/// unwrapped). A tag for std::chrono types; it has no now(), a PlayClock tells which position is due.
struct Timeline {
    using rep = std::int64_t;
    using period = std::ratio<1, 90000>;
    using duration = std::chrono::duration<rep, period>;
    using time_point = std::chrono::time_point<Timeline>;
    static constexpr bool is_steady = false;
};

/// A span of stream time.
using Ticks = Timeline::duration;
/// A point of the timeline.
using Position = Timeline::time_point;

using SteadyClock = std::chrono::steady_clock;
using SteadyTime = SteadyClock::time_point;

} // namespace velmora
