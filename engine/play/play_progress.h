// Where playing a file stands, for who goes along with it.
#pragma once

#include "media/timeline.h"

#include <cstdint>

namespace velmora {

/// How a file plays at the moment.
struct PlayProgress {
    bool is_plain{false};   ///< forward at normal speed
    bool is_at_end{false};  ///< everything has been shown
    std::uint64_t jumps{0}; ///< another number: what is played is not what follows
    Position position{};
};

} // namespace velmora
