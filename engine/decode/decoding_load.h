// How many threads it takes to decode a live stream in time.
#pragma once

#include "media/timeline.h"

#include <chrono>
#include <cstddef>
#include <optional>

namespace velmora {

/// Holds what decoding takes of one thread against the time that the pictures stand for. While there are more
/// threads nobody can tell what decoding takes, so it is concluded from the size of the units. Not
/// thread-safe.
class DecodingLoad {
public:
    using Cost = std::chrono::duration<double>;

    /// Tells that a unit was decoded.
    /// @param cost processor time; nothing where it is not known
    void add(std::size_t bytes, std::optional<Cost> cost);
    /// Tells what a unit took before anything else is known of the stream.
    void begin_with(std::size_t bytes, Cost cost);
    /// The threads for what begins at `group` and needs nothing of what was before.
    int threads_from(Position group);

private:
    void measure_from(Position group);

    int threads_{1};
    std::optional<Position> since_; ///< what is below was added since
    std::size_t bytes_{0};
    std::size_t bytes_of_known_cost_{0};
    Cost cost_{0};
    double cost_per_byte_{0}; ///< as it was last known, seconds
};

} // namespace velmora
