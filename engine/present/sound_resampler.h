// From whatever the decoder gives to the output format.
#pragma once

#include "media/av_handles.h"
#include "present/sound_format.h"

#include <vector>

namespace velmora {

/// Converts decoded frames to output frames and makes them longer or shorter on demand. Follows changes of
/// rate, format and channels from frame to frame. For one thread.
class SoundResampler {
public:
    SoundResampler() = default;
    ~SoundResampler();
    SoundResampler(const SoundResampler&) = delete;
    SoundResampler& operator=(const SoundResampler&) = delete;

    /// Appends the samples of `frame` to `output`, except the few that stay in the filter until more come.
    /// @return false when the frame cannot be converted
    bool convert(const AVFrame& frame, std::vector<float>& output);

    /// What stays in the filter now, and comes out before the next frame's samples.
    Seconds delay() const;

    /// @param stretch share by which the sound becomes longer from now on, negative: shorter
    void set_stretch(double stretch);

    /// Empties the filter.
    void reset() { resampler_.reset(); }

private:
    bool prepare(const AVFrame& frame);

    Resampler resampler_;
    int input_rate_{0};
    int input_format_{AV_SAMPLE_FMT_NONE};
    AVChannelLayout input_layout_{};
    double stretch_{0.0};
};

} // namespace velmora
