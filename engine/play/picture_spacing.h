// Thins out the pictures of fast play to what a screen is meant to show.
#pragma once

#include "media/timeline.h"

#include <optional>

namespace velmora {

/// Admits the stream's own number of pictures per second of real time, or 30 if that is more. A value without
/// threads.
class PictureSpacing {
public:
    /// @param magnitude of the rate
    /// @param unit distance of two pictures of the stream
    void set(double magnitude, Ticks unit);
    /// Forgets what was admitted, before a jump.
    void restart() { last_.reset(); }
    /// Whether the next picture, in the order of showing, is to be shown.
    bool admits(Position position);

private:
    Ticks least_{0}; ///< mean distance of two pictures
    std::optional<Position> last_;
    Ticks credit_{0};
};

} // namespace velmora
