// Keeps the sound on the play clock although the device counts its samples with a clock of its own.
#pragma once

#include "present/sound_format.h"

namespace velmora {

/// A proportional and integral controller, without threads or time of its own.
class DriftControl {
public:
    /// Beyond this nothing but a jump helps.
    static constexpr Seconds resync_limit{0.100};
    /// How much slower or faster the sound may become, as a share.
    static constexpr double largest_stretch = 0.05;

    /// @param offset how much too early the sound is heard; negative: too late
    /// @param elapsed since the last update
    /// @return share by which the sound shall become longer (slower), negative: shorter
    double update(Seconds offset, Seconds elapsed);

    /// Forgets what it has learnt about the device.
    void reset() { integral_ = 0.0; }

private:
    double integral_{0.0};
};

} // namespace velmora
