#include "present/sound_ring.h"

#include <algorithm>

namespace velmora {

SoundRing::SoundRing(std::size_t capacity) : capacity_{capacity}, samples_(capacity * output_channels) {}

std::size_t SoundRing::write(std::span<const float> samples) {
    const std::size_t count = std::min(samples.size() / output_channels, room());
    for (std::size_t i = 0; i < count; ++i) {
        std::copy_n(&samples[i * output_channels], output_channels, frame(first_ + size_ + i));
    }
    size_ += count;
    return count;
}

std::size_t SoundRing::append_silence(std::size_t frames) {
    const std::size_t count = std::min(frames, room());
    for (std::size_t i = 0; i < count; ++i) {
        std::fill_n(frame(first_ + size_ + i), output_channels, 0.0F);
    }
    size_ += count;
    return count;
}

std::size_t SoundRing::prepend_silence(std::size_t frames) {
    const std::size_t count = std::min(frames, room());
    first_ = (first_ + capacity_ - count) % capacity_;
    for (std::size_t i = 0; i < count; ++i) {
        std::fill_n(frame(first_ + i), output_channels, 0.0F);
    }
    size_ += count;
    return count;
}

std::size_t SoundRing::read(std::span<float> samples) {
    const std::size_t count = std::min(samples.size() / output_channels, size_);
    for (std::size_t i = 0; i < count; ++i) {
        std::copy_n(frame(first_ + i), output_channels, &samples[i * output_channels]);
    }
    return drop(count);
}

std::size_t SoundRing::drop(std::size_t frames) {
    const std::size_t count = std::min(frames, size_);
    first_ = (first_ + count) % capacity_;
    size_ -= count;
    return count;
}

} // namespace velmora
