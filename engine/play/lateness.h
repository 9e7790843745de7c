// How far playing lags behind its clock on a machine that is late, and what is left out for it.
#pragma once

#include "media/timeline.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <optional>

extern "C" {
#include <libavcodec/defs.h>
}

namespace velmora {

/// Leaves out more only while leaving out less does not catch up. Not thread-safe.
class Lateness {
public:
    using Lag = std::chrono::duration<double>;

    /// @param behind how much later than due the latest picture is; negative when it is early
    void observe(Lag behind, SteadyTime now);
    void reset();

    bool is_late() const { return level_ > 0; }
    /// The classes of pictures to leave out.
    AVDiscard skip() const { return levels[level_]; }

private:
    static constexpr std::array<AVDiscard, 4> levels{AVDISCARD_DEFAULT, AVDISCARD_NONREF, AVDISCARD_BIDIR,
                                                     AVDISCARD_NONKEY};
    /// What was seen when the present level, or the present look at it, began.
    struct Look {
        SteadyTime since;
        Lag behind;
    };

    std::size_t level_{0};
    std::optional<Look> late_;
    std::optional<SteadyTime> on_time_since_;
};

} // namespace velmora
