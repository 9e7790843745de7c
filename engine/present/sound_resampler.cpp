#include "present/sound_resampler.h"

#include <array>
#include <cmath>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

namespace velmora {

namespace {

// The stretch is told to the library as samples more or less over this many; it must reach beyond the next
// call of set_stretch, or the sound falls back to its own length in between.
constexpr int stretch_distance = 10 * output_rate;

/// The layout of `frame`; for one that does not tell, the usual layout of as many channels.
AVChannelLayout layout_of(const AVFrame& frame) {
    AVChannelLayout layout{};
    if (frame.ch_layout.order == AV_CHANNEL_ORDER_UNSPEC) {
        av_channel_layout_default(&layout, frame.ch_layout.nb_channels);
    } else {
        av_channel_layout_copy(&layout, &frame.ch_layout);
    }
    return layout;
}

} // namespace

SoundResampler::~SoundResampler() {
    av_channel_layout_uninit(&input_layout_);
}

bool SoundResampler::prepare(const AVFrame& frame) {
    AVChannelLayout layout = layout_of(frame);
    const bool same = resampler_ && input_rate_ == frame.sample_rate && input_format_ == frame.format &&
                      av_channel_layout_compare(&input_layout_, &layout) == 0;
    if (same) {
        av_channel_layout_uninit(&layout);
        return true;
    }
    av_channel_layout_uninit(&input_layout_);
    input_layout_ = layout;
    input_rate_ = frame.sample_rate;
    input_format_ = frame.format;

    AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
    SwrContext* allocated = nullptr;
    const int result =
        swr_alloc_set_opts2(&allocated, &stereo, AV_SAMPLE_FMT_FLT, output_rate, &input_layout_,
                            static_cast<AVSampleFormat>(input_format_), input_rate_, 0, nullptr);
    Resampler created{allocated};
    if (result < 0) {
        resampler_.reset();
        return false;
    }
    // Resample at equal rates too, since the sound is to be stretched; never mix above full scale.
    av_opt_set_int(created.get(), "flags", SWR_FLAG_RESAMPLE, 0);
    av_opt_set_double(created.get(), "rematrix_maxval", 1.0, 0);
    if (swr_init(created.get()) < 0) {
        resampler_.reset();
        return false;
    }
    resampler_ = std::move(created);
    set_stretch(stretch_);
    return true;
}

bool SoundResampler::convert(const AVFrame& frame, std::vector<float>& output) {
    if (!prepare(frame)) {
        return false;
    }
    const int most = swr_get_out_samples(resampler_.get(), frame.nb_samples);
    if (most < 0) {
        return false;
    }
    const std::size_t before = output.size();
    output.resize(before + static_cast<std::size_t>(most) * output_channels);
    std::array<std::uint8_t*, 1> target{reinterpret_cast<std::uint8_t*>(output.data() + before)};
    const int made = swr_convert(
        resampler_.get(), target.data(), most,
        const_cast<const std::uint8_t**>(
            frame.extended_data), // NOLINT(cppcoreguidelines-pro-type-const-cast): as declared there
        frame.nb_samples);
    output.resize(before + static_cast<std::size_t>(made < 0 ? 0 : made) * output_channels);
    return made >= 0;
}

Seconds SoundResampler::delay() const {
    return resampler_ ? Seconds{static_cast<double>(swr_get_delay(resampler_.get(), Timeline::period::den)) /
                                Timeline::period::den}
                      : Seconds{0};
}

void SoundResampler::set_stretch(double stretch) {
    stretch_ = stretch;
    if (resampler_) {
        swr_set_compensation(resampler_.get(), static_cast<int>(std::lround(stretch * stretch_distance)),
                             stretch_distance);
    }
}

} // namespace velmora
