// What is heard: SDL's disk driver writes the samples to a file.
#pragma once

#include <vector>

namespace heard {

inline constexpr int rate = 48000; ///< samples per second

/// The left channel of the last `seconds`.
std::vector<float> samples(double seconds);
/// The largest of them.
float peak(double seconds);
/// Zero crossings upwards per second.
double frequency(double seconds);

} // namespace heard
