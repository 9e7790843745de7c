// Which way and how fast a file plays.
#pragma once

namespace velmora {

enum class Direction { forward, reverse };
/// How many times as fast as the stream's own pace, up to 5; fast shows key pictures only.
enum class Speed { pause = 0, normal = 1, times_2 = 2, times_3 = 3, times_4 = 4, times_5 = 5, fast = 6 };

struct Tempo {
    Direction direction{Direction::forward};
    Speed speed{Speed::normal};

    bool operator==(const Tempo&) const = default;
    bool is_paused() const { return speed == Speed::pause; }
    bool is_reverse() const { return direction == Direction::reverse; }
    bool is_fast() const { return speed == Speed::fast; }

    /// Positions per unit of time, negative in reverse.
    double rate() const {
        constexpr double fast_rate = 16.0;
        const double magnitude = is_fast() ? fast_rate : static_cast<double>(speed);
        return is_reverse() ? -magnitude : magnitude;
    }
};

} // namespace velmora
