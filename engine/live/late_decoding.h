// What a live view leaves out because decoding is late.
#pragma once

#include "media/timeline.h"

#include <optional>

namespace velmora {

/// Leaves nothing out for lateness that decoding makes up for by itself. A value without threads.
class LateDecoding {
public:
    /// @param behind how long ago that had come which is decoded next
    void observe(SteadyClock::duration behind, SteadyTime now);
    void reset() { *this = LateDecoding{}; }

    /// Pictures that no other needs are to be left out.
    bool leaves_out() const { return leaves_out_; }
    /// Everything up to an access point is to be left out.
    bool is_lost() const { return is_lost_; }

private:
    /// What was seen when the present lateness, or the present look at it, began.
    struct Look {
        SteadyTime since;
        SteadyClock::duration behind;
    };

    std::optional<Look> late_;
    bool leaves_out_{false};
    bool is_lost_{false};
};

} // namespace velmora
