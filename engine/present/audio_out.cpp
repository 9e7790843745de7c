#include "present/audio_out.h"

#include "diagnostics/log.h"

#include <chrono>
#include <new>
#include <string>
#include <utility>

namespace velmora {

namespace {

constexpr std::chrono::milliseconds feed_interval{10};

} // namespace

AudioOut::AudioOut(TimeSource& time, MessageBoard& messages)
    : time_{time}, messages_{messages}, thread_{time, [this](const std::stop_token& stop) { run(stop); }} {}

void AudioOut::attach(std::shared_ptr<SoundQueue> queue, std::shared_ptr<const SharedPlayClock> clock) {
    {
        const std::lock_guard lock{mutex_};
        ++generation_;
        feeder_.discard();
        has_sound_ = has_sound_ && source_.queue == queue;
        source_ = {.queue = std::move(queue), .clock = std::move(clock)};
        tell_device();
    }
    keeper_.want_device();
    attached_->notify();
}

void AudioOut::detach(const SoundQueue& queue) {
    const std::lock_guard lock{mutex_};
    if (source_.queue.get() != &queue) {
        return;
    }
    ++generation_;
    feeder_.discard();
    outlet_.set_audible(false);
    source_ = {};
    has_sound_ = false;
    tell_device();
}

/// Under the lock: whether there is sound that nobody hears, for want of a device.
void AudioOut::tell_device() {
    const bool is_lacking = has_sound_ && keeper_.lacks_device();
    if (is_lacking == std::exchange(lack_is_told_, is_lacking)) {
        return;
    }
    if (!is_lacking) {
        messages_.end(MessageBoard::State::no_sound_device);
        return;
    }
    const std::string failure = keeper_.failure();
    messages_.begin(MessageBoard::State::no_sound_device, MessageBoard::Severity::warning, "audio",
                    failure.empty() ? "There is no sound device, so nothing is heard"
                                    : "The sound device cannot be opened, so nothing is heard: " + failure);
}

void AudioOut::discard() {
    const std::lock_guard lock{mutex_};
    ++generation_;
    feeder_.discard();
}

std::optional<Seconds> AudioOut::offset() const {
    const std::lock_guard lock{mutex_};
    return feeder_.offset();
}

void AudioOut::run(const std::stop_token& stop) {
    while (!stop.stop_requested()) {
        SteadyTime next = SteadyTime::max();
        if (std::unique_lock lock{mutex_}; source_.queue) {
            next = time_.now() + feed_interval;
            try {
                feed(lock);
                tell_device();
            } catch (const std::bad_alloc&) {
                log_incident("audio", "memory", "out of memory, falling silent");
                source_ = {};
            }
        }
        attached_->wait(stop, next);
    }
}

void AudioOut::feed(std::unique_lock<std::mutex>& lock) {
    const Source source = source_;
    const SteadyTime now = time_.now();
    const PlayClock clock = source.clock->snapshot();
    const std::uint64_t generation = generation_;
    feeder_.feed(clock, now);
    while (feeder_.hungry()) {
        // Without the lock: the producer's notification may wait for one who waits for us.
        lock.unlock();
        std::optional<SoundFrame> frame = source.queue->try_pop();
        lock.lock();
        if (!frame || generation != generation_) {
            return;
        }
        has_sound_ = true;
        feeder_.accept(std::move(*frame));
        feeder_.feed(clock, now);
    }
}

} // namespace velmora
