// The one format in which sound is mixed and given to the device: interleaved stereo floats at 48 kHz.
#pragma once

#include "media/timeline.h"

#include <chrono>
#include <cmath>
#include <cstddef>

namespace velmora {

constexpr int output_rate = 48000; ///< Hz
constexpr std::size_t output_channels = 2;

using Seconds = std::chrono::duration<double>;

/// Number of output frames (one sample of each channel) that fill `span`; 0 for a negative one.
inline std::size_t frames_in(Seconds span) {
    return span.count() <= 0 ? 0 : static_cast<std::size_t>(std::llround(span.count() * output_rate));
}

inline Seconds span_of(std::size_t frames) {
    return Seconds{static_cast<double>(frames) / output_rate};
}

inline Ticks to_ticks(Seconds span) {
    return Ticks{std::llround(span.count() * Timeline::period::den)};
}

} // namespace velmora
