// The one truth about which position of a played stream is due now.
#pragma once

#include "media/timeline.h"

#include <cstdint>
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

/// The PlayClock of an activity. Its runs, from one jump or turn to the next, begin when their first picture
/// is shown, which only the presenter knows; until then the clock stands still. Thread-safe.
class SharedPlayClock {
public:
    /// Whatever was offered before is stale: the clock stands at `position` until the run is shown that is
    /// offered from now on.
    void hold(Position position);
    /// The first picture or sound of a run is shown now: the clock goes on from there at the rate that is
    /// set. Without effect when the run is stale, or the clock does not wait for it.
    /// @param generation of what is shown
    void begin_run(std::uint64_t generation, Position position, SteadyTime now);
    /// Sets the rate of the run, without a jump; it takes effect when the run begins.
    /// @return whether it has taken effect
    bool set_rate(double rate, SteadyTime now);
    /// The run has come to its end: the clock stands at `position` until another is offered.
    void stop_at(Position position);
    /// Goes on from `position` at `now`, whatever is shown.
    void anchor(Position position, double rate, SteadyTime now);
    /// Goes on from `position`, at the rate it has, when it has passed it.
    void hold_back_to(Position position, SteadyTime now);

    /// Number of the run; what carries another one is stale.
    std::uint64_t generation() const;
    /// The run is shown, or was until it came to its end.
    bool has_begun() const;
    /// The rate of the run, also before it begins and after its end.
    double rate_of_run() const;
    /// A consistent copy.
    PlayClock snapshot() const;

private:
    enum class State { held, running, stopped };

    mutable std::mutex mutex_;
    // Protected by mutex_:
    PlayClock clock_;
    State state_{State::held};
    double rate_{1.0};
    std::uint64_t generation_{0};
};

} // namespace velmora
