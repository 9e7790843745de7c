// Finds a tone in samples.
#pragma once

#include <cmath>
#include <numbers>
#include <span>

namespace velmora::test {

/// Amplitude of the sine of `frequency` Hz within `samples` (one channel, full scale 1).
inline double tone_amplitude(std::span<const float> samples, double frequency, int sample_rate) {
    double in_phase = 0;
    double quadrature = 0;
    const double step = 2 * std::numbers::pi * frequency / sample_rate;
    double angle = 0;
    for (const float sample : samples) {
        in_phase += static_cast<double>(sample) * std::cos(angle);
        quadrature += static_cast<double>(sample) * std::sin(angle);
        angle += step;
    }
    return samples.empty() ? 0 : 2 * std::hypot(in_phase, quadrature) / static_cast<double>(samples.size());
}

} // namespace velmora::test
