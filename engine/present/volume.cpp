#include "present/volume.h"

#include "present/sound_format.h"

#include <algorithm>
#include <atomic>

namespace velmora {

namespace {

constexpr int full_level = 100;
constexpr float largest_step = 1.0F / (0.020F * output_rate);

std::atomic<int> current_level{full_level};

} // namespace

void set_volume(int level) noexcept {
    current_level.store(std::clamp(level, 0, full_level), std::memory_order_relaxed);
}

float volume_gain() noexcept {
    const float share =
        static_cast<float>(current_level.load(std::memory_order_relaxed)) / static_cast<float>(full_level);
    return share * share * share;
}

void GainRamp::apply(std::span<float> samples, float target) {
    for (std::size_t i = 0; i + output_channels <= samples.size(); i += output_channels) {
        gain_ += std::clamp(target - gain_, -largest_step, largest_step);
        for (std::size_t channel = 0; channel < output_channels; ++channel) {
            samples[i + channel] *= gain_;
        }
    }
}

} // namespace velmora
