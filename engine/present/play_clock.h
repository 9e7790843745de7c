// The one truth about which position of a played stream is due now.
#pragma once

#include "media/timeline.h"

#include <mutex>

namespace velmora {

/// Maps steady time to a position: position = anchor + rate * (now - anchored_at). A value without threads.
class PlayClock {
public:
    /// Stands still at the start of the timeline.
    PlayClock() = default;

    /// Goes on from `position` at `now`, with `rate` positions per second (0 = standing still, negative =
    /// reverse).
    void anchor(Position position, double rate, SteadyTime now);
    /// Changes the rate without a jump.
    void set_rate(double rate, SteadyTime now);

    Position position(SteadyTime now) const;
    double rate() const { return rate_; }
    bool running() const { return rate_ != 0.0; }
    /// When `position` is due; SteadyTime::max() while the clock stands still.
    SteadyTime due(Position position) const;

private:
    Position anchor_{};
    SteadyTime anchored_at_{};
    double rate_{0.0};
};

/// A PlayClock that several threads use: written by the player and the presenter, read by all.
class SharedPlayClock {
public:
    void anchor(Position position, double rate, SteadyTime now);
    void set_rate(double rate, SteadyTime now);
    /// Goes on from `position`, at the rate it has, when it has passed it.
    void hold_back_to(Position position, SteadyTime now);
    /// A consistent copy.
    PlayClock snapshot() const;

private:
    mutable std::mutex mutex_;
    PlayClock clock_;
};

} // namespace velmora
