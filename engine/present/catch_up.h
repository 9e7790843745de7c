// How pictures that are late are shown without leaving any out.
#pragma once

#include "media/timeline.h"

#include <algorithm>
#include <optional>

namespace velmora {

/// Late pictures follow each other twice as fast as usual, so that each is seen; patience ends where that
/// does not make up for it. A value without threads.
class CatchUp {
public:
    /// @param late how much later than due the next picture is at `now`
    /// @param patience up to which lateness it is shown all the same
    /// @return whether it may be passed over for its successor
    bool has_failed(SteadyClock::duration late, SteadyClock::duration patience, SteadyTime now);
    /// The soonest that a picture may follow the one shown last.
    SteadyTime soonest(SteadyTime due) const;
    /// Tells that a picture is shown.
    void shown(SteadyTime due, SteadyTime now) { shown_ = Shown{std::min(due, now), now}; }

private:
    struct Shown {
        SteadyTime due;
        SteadyTime at;
    };

    std::optional<Shown> shown_;
    std::optional<SteadyTime> late_since_;
};

} // namespace velmora
