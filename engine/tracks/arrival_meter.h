// Measures a bit rate by the time at which bytes arrive.
#pragma once

#include "media/timeline.h"

#include <cstddef>
#include <cstdint>
#include <deque>

namespace velmora {

/// Looks back one second. Not thread-safe.
class ArrivalMeter {
public:
    void add(std::size_t bytes, SteadyTime arrived);
    /// kbit/s over the last second.
    std::int32_t kilobits_per_second(SteadyTime now);

private:
    /// What arrived within some milliseconds.
    struct Entry {
        SteadyTime begin;
        std::size_t bytes{0};
    };

    void forget(SteadyTime now);

    std::deque<Entry> entries_;
    std::size_t bytes_{0}; ///< of all entries
};

} // namespace velmora
