// How loud the engine is.
#pragma once

#include <span>

namespace velmora {

/// Sets the level of all sessions of this process, now and later. Any thread.
/// @param level 0 (silent) to 100 (as recorded), values outside are taken as the nearest of these
void set_volume(int level) noexcept;

/// The factor for samples that belongs to the level: its cube, which the ear takes for even steps.
float volume_gain() noexcept;

/// Applies a gain that moves to its target sample by sample, within 20 ms at most, so that no step clicks.
class GainRamp {
public:
    /// Multiplies interleaved output frames.
    void apply(std::span<float> samples, float target);
    bool silent() const { return gain_ == 0.0F; }

private:
    float gain_{0.0F};
};

} // namespace velmora
