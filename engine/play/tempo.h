// Which way and how fast a file plays.
#pragma once

#include "velmoraapi.h"

namespace velmora {

struct Tempo {
    int direction{PLAYER_DIR_FORWARD}; ///< PLAYER_DIR_*
    int speed{PLAYER_SPD_NORMAL};      ///< PLAYER_SPD_*

    bool operator==(const Tempo&) const = default;
    bool is_paused() const { return speed == PLAYER_SPD_PAUSE; }
    bool is_reverse() const { return direction == PLAYER_DIR_PREVWARD; }
    bool is_fast() const { return speed == PLAYER_SPD_FAST; }

    /// Positions per unit of time, negative in reverse.
    double rate() const {
        constexpr double fast_rate = 16.0;
        const double magnitude = is_fast() ? fast_rate : static_cast<double>(speed);
        return is_reverse() ? -magnitude : magnitude;
    }
};

constexpr bool is_speed(int speed) {
    return speed >= PLAYER_SPD_PAUSE && speed <= PLAYER_SPD_FAST;
}

constexpr bool is_direction(int direction) {
    return direction == PLAYER_DIR_FORWARD || direction == PLAYER_DIR_PREVWARD;
}

} // namespace velmora
