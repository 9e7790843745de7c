// Data of a played file that waits for its time.
#pragma once

#include "media/timeline.h"
#include "present/play_clock.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace velmora {

/// Bounded: reading is never far ahead of playing. Not thread-safe.
class DueData {
public:
    using Sink = std::function<void(std::span<const std::uint8_t>)>;

    /// Units in front of `from` are left out.
    void restart(Position from);
    void put(Position position, std::span<const std::uint8_t> unit);
    /// Hands out what is due, in order.
    /// @return when the next unit is due, if one waits for a clock that runs
    std::optional<SteadyTime> hand_out(const PlayClock& clock, SteadyTime now, const Sink& sink);

private:
    struct Unit {
        Position position;
        std::vector<std::uint8_t> bytes;
    };

    std::deque<Unit> units_;
    std::size_t bytes_{0};
    Position from_{Position::min()};
};

} // namespace velmora
