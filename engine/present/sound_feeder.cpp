#include "present/sound_feeder.h"

#include <algorithm>
#include <utility>

namespace velmora {

namespace {

constexpr std::chrono::milliseconds control_interval{100};
/// Timestamps may be this much off the count of samples without being a gap.
constexpr Seconds jitter{0.020};
/// Silence is written no earlier than this before the sound behind it is due.
constexpr Seconds longest_silence{0.100};
/// Buffered sound further off the clock than this belongs to another place.
constexpr Seconds largest_shift{0.300};
/// No sound comes so early; its timestamp is wrong.
constexpr Seconds absurdly_early{10.0};

Seconds to_seconds(Ticks ticks) {
    return std::chrono::duration_cast<Seconds>(ticks);
}

Ticks length_of(const AVFrame& frame) {
    return Ticks{av_rescale(frame.nb_samples, Timeline::period::den, frame.sample_rate)};
}

} // namespace

void SoundFeeder::feed(const PlayClock& clock, SteadyTime now) {
    hungry_ = false;
    const bool underrun = outlet_.take_underrun();
    if (clock.rate() != 1.0 || !outlet_.active(now)) {
        playing_ = false;
        outlet_.set_audible(false);
        offset_.reset();
        if (clock.running()) {
            pass_over(clock, now);
        }
        return;
    }
    if (!playing_) {
        realign(clock, now);
    } else if (underrun) {
        aligned_ = false;
    }
    playing_ = true;
    play(clock, now);
    outlet_.set_audible(true);
    control_drift(clock, now);
}

void SoundFeeder::accept(SoundFrame frame) {
    held_ = std::move(frame);
    hungry_ = false;
}

void SoundFeeder::discard() {
    outlet_.clear();
    resampler_.reset();
    held_.reset();
    converted_.clear();
    used_ = 0;
    aligned_ = false;
    next_frame_.reset();
    offset_.reset();
}

void SoundFeeder::pass_over(const PlayClock& clock, SteadyTime now) {
    if (held_) {
        const Position position = clock.position(now);
        const bool over = held_->position + length_of(*held_->frame) <= position;
        const bool absurd = to_seconds(held_->position - position) > absurdly_early;
        if (clock.rate() < 0 || over || absurd) {
            held_.reset();
        }
    }
    hungry_ = !held_;
}

void SoundFeeder::play(const PlayClock& clock, SteadyTime now) {
    for (;;) {
        if (converted_frames() == 0) {
            if (!held_) {
                hungry_ = true;
                return;
            }
            if (!convert_held()) {
                continue;
            }
        }
        if (!aligned_ && !align_next(clock, now)) {
            if (converted_frames() == 0) {
                continue;
            }
            return;
        }
        const std::size_t count = std::min(outlet_.wanted(), converted_frames());
        if (count == 0) {
            return;
        }
        skip_converted(outlet_.write(std::span{converted_}.subspan(used_, count * output_channels)));
    }
}

/// Puts the next sound to its place behind a gap, a jump or at the start.
/// @return false when it is too early to write it, or when all of it was too late
bool SoundFeeder::align_next(const PlayClock& clock, SteadyTime now) {
    const Seconds early = measure_offset(clock, now);
    if (early > absurdly_early) {
        skip_converted(converted_frames());
        return false;
    }
    if (early > longest_silence) {
        return false;
    }
    outlet_.append_silence(frames_in(early));
    skip_converted(std::min(frames_in(-early), converted_frames()));
    aligned_ = converted_frames() > 0;
    offset_sum_ = Seconds{0};
    offset_count_ = 0;
    return aligned_;
}

/// Moves the sound that waits in the outlet to where the clock is now.
void SoundFeeder::realign(const PlayClock& clock, SteadyTime now) {
    if (!aligned_) {
        return;
    }
    const Seconds early = measure_offset(clock, now);
    if (early > largest_shift || early < -largest_shift) {
        outlet_.clear();
        aligned_ = false;
        return;
    }
    outlet_.delay(frames_in(early));
    const std::size_t late = frames_in(-early);
    aligned_ = outlet_.drop(late) == late;
    offset_sum_ = Seconds{0};
    offset_count_ = 0;
}

bool SoundFeeder::convert_held() {
    const SoundFrame sound = std::move(*std::exchange(held_, std::nullopt));
    if (next_frame_) {
        const Seconds jump = to_seconds(sound.position - *next_frame_);
        if (jump > jitter || jump < -jitter) {
            aligned_ = false;
            resampler_.reset();
        }
    }
    next_frame_ = sound.position + length_of(*sound.frame);
    next_position_ = sound.position - to_ticks(resampler_.delay());
    converted_.clear();
    used_ = 0;
    return resampler_.convert(*sound.frame, converted_) && converted_frames() > 0;
}

void SoundFeeder::skip_converted(std::size_t frames) {
    used_ += frames * output_channels;
    next_position_ += to_ticks(span_of(frames));
}

Seconds SoundFeeder::measure_offset(const PlayClock& clock, SteadyTime now) const {
    return to_seconds(next_position_ - clock.position(outlet_.next_heard_at(now)));
}

void SoundFeeder::control_drift(const PlayClock& clock, SteadyTime now) {
    if (!aligned_) {
        controlled_at_.reset();
        return;
    }
    offset_sum_ += measure_offset(clock, now);
    ++offset_count_;
    if (!controlled_at_) {
        controlled_at_ = now;
    }
    if (now - *controlled_at_ < control_interval) {
        return;
    }
    const Seconds elapsed = now - *controlled_at_;
    controlled_at_ = now;
    offset_ = offset_sum_ / offset_count_;
    offset_sum_ = Seconds{0};
    offset_count_ = 0;
    if (*offset_ > DriftControl::resync_limit || *offset_ < -DriftControl::resync_limit) {
        realign(clock, now);
    } else {
        resampler_.set_stretch(drift_.update(*offset_, elapsed));
    }
}

} // namespace velmora
