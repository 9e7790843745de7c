// What decoding a picture of a stream takes.
#pragma once

#include <chrono>
#include <cstddef>
#include <deque>

namespace velmora {

/// The average over the latest pictures. A value without threads.
class DecodingEffort {
public:
    using Seconds = std::chrono::duration<double>;

    /// @param cost processor time of one picture; where the machine stood still meanwhile, which the
    ///             processor's clock may count, it weighs no more than a few usual ones
    void add(Seconds cost);
    /// @param least pictures on which it has to rest: the first ones may be key pictures for the most part,
    ///              so that it is too high rather than too low
    /// @return 0 when fewer were decoded
    Seconds per_picture(std::size_t least) const;

private:
    std::deque<Seconds> latest_;
};

} // namespace velmora
