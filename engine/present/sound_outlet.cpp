#include "present/sound_outlet.h"

#include <algorithm>
#include <utility>

namespace velmora {

namespace {

constexpr Seconds capacity{0.5};
constexpr Seconds enough{0.080};
/// A device that fetched nothing for so long does not play.
constexpr std::chrono::milliseconds silence_of_the_dead{500};

} // namespace

SoundOutlet::SoundOutlet() : ring_{frames_in(capacity)} {}

void SoundOutlet::fetch(std::span<float> samples, SteadyTime now) {
    const std::lock_guard lock{mutex_};
    fetched_at_ = now;
    block_ = span_of(samples.size() / output_channels);
    if (!audible_ && ramp_.silent()) {
        std::fill(samples.begin(), samples.end(), 0.0F);
        return;
    }
    const std::size_t got = ring_.read(samples) * output_channels;
    std::fill(samples.begin() + static_cast<std::ptrdiff_t>(got), samples.end(), 0.0F);
    underrun_ = underrun_ || got < samples.size();
    ramp_.apply(samples, audible_ ? volume_gain() : 0.0F);
}

bool SoundOutlet::active(SteadyTime now) const {
    const std::lock_guard lock{mutex_};
    return fetched_at_ && now - *fetched_at_ < silence_of_the_dead;
}

SteadyTime SoundOutlet::next_heard_at(SteadyTime now) const {
    const std::lock_guard lock{mutex_};
    // The block fetched last waits behind the one that sounds; the next one is fetched when that has ended.
    const auto block = std::chrono::duration_cast<SteadyClock::duration>(block_);
    const SteadyTime next_fetch = fetched_at_ ? std::max(*fetched_at_ + block, now) : now;
    return next_fetch + block + std::chrono::duration_cast<SteadyClock::duration>(span_of(ring_.size()));
}

std::size_t SoundOutlet::wanted() const {
    const std::lock_guard lock{mutex_};
    const std::size_t target = frames_in(enough);
    return target - std::min(target, ring_.size());
}

std::size_t SoundOutlet::write(std::span<const float> samples) {
    const std::lock_guard lock{mutex_};
    return ring_.write(samples);
}

void SoundOutlet::delay(std::size_t frames) {
    const std::lock_guard lock{mutex_};
    ring_.prepend_silence(frames);
}

void SoundOutlet::append_silence(std::size_t frames) {
    const std::lock_guard lock{mutex_};
    ring_.append_silence(frames);
}

std::size_t SoundOutlet::drop(std::size_t frames) {
    const std::lock_guard lock{mutex_};
    return ring_.drop(frames);
}

void SoundOutlet::clear() {
    const std::lock_guard lock{mutex_};
    ring_.clear();
}

void SoundOutlet::set_audible(bool audible) {
    const std::lock_guard lock{mutex_};
    audible_ = audible;
}

bool SoundOutlet::take_underrun() {
    const std::lock_guard lock{mutex_};
    return std::exchange(underrun_, false);
}

} // namespace velmora
