// Decoded sound made by tests.
#pragma once

#include "media/sound_frame.h"

#include <cmath>
#include <functional>
#include <stdexcept>

namespace velmora::test {

constexpr int source_rate = 48000;
constexpr int source_frame_samples = 1152;

inline Position at_seconds(double seconds) {
    return Position{Ticks{std::llround(seconds * Timeline::period::den)}};
}

inline double in_seconds(Position position) {
    return static_cast<double>(position.time_since_epoch().count()) / Timeline::period::den;
}

/// Samples of `wave`, a function of the position in seconds, cut into stereo frames as MPEG audio has them.
class SoundSource {
public:
    SoundSource(double start, std::function<float(double)> wave) : start_{start}, wave_{std::move(wave)} {}

    SoundFrame next() {
        AvFrame frame = make_frame();
        frame->format = AV_SAMPLE_FMT_FLTP;
        frame->sample_rate = source_rate;
        frame->nb_samples = source_frame_samples;
        frame->ch_layout = AV_CHANNEL_LAYOUT_STEREO;
        if (av_frame_get_buffer(frame.get(), 0) < 0) {
            throw std::bad_alloc{};
        }
        const Position position = at_seconds(seconds(count_));
        for (int i = 0; i < frame->nb_samples; ++i) {
            const float sample = wave_(seconds(count_++));
            reinterpret_cast<float*>(frame->data[0])[i] = sample;
            reinterpret_cast<float*>(frame->data[1])[i] = sample;
        }
        return {.frame = std::move(frame), .position = position};
    }

    /// Fills `queue`.
    void fill(SoundQueue& queue) {
        while (!queue.full()) {
            queue.try_push(next());
        }
    }

    /// Where the next frame starts.
    double position() const { return seconds(count_); }

private:
    double seconds(std::int64_t count) const { return start_ + static_cast<double>(count) / source_rate; }

    double start_;
    std::function<float(double)> wave_;
    std::int64_t count_{0};
};

} // namespace velmora::test
