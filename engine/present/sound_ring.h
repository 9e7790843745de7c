// Sound that waits to be fetched by the device.
#pragma once

#include "present/sound_format.h"

#include <cstddef>
#include <span>
#include <vector>

namespace velmora {

/// A ring of output frames. All sizes are in frames; spans hold output_channels samples a frame.
/// Not thread-safe.
class SoundRing {
public:
    explicit SoundRing(std::size_t capacity);

    std::size_t size() const { return size_; }
    std::size_t room() const { return capacity_ - size_; }

    /// Takes as many frames as there is room for. @return frames taken
    std::size_t write(std::span<const float> samples);
    /// Puts silence behind what is there. @return frames put, at most room()
    std::size_t append_silence(std::size_t frames);
    /// Puts silence before what is there. @return frames put, at most room()
    std::size_t prepend_silence(std::size_t frames);
    /// Gives the oldest frames away. @return frames given
    std::size_t read(std::span<float> samples);
    /// Drops the oldest frames. @return frames dropped
    std::size_t drop(std::size_t frames);
    void clear() { size_ = 0; }

private:
    float* frame(std::size_t number) { return &samples_[number % capacity_ * output_channels]; }

    std::size_t capacity_;
    std::size_t first_{0};
    std::size_t size_{0};
    std::vector<float> samples_;
};

} // namespace velmora
