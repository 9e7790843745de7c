#include "support/simulated_ear.h"

#include <utility>

namespace velmora::test {

SimulatedEar::SimulatedEar(TimeSource& time, std::shared_ptr<SoundQueue> queue,
                           std::shared_ptr<const SharedPlayClock> clock)
    : time_{time}, queue_{std::move(queue)}, clock_{std::move(clock)},
      thread_{time, [this](const std::stop_token& stop) { run(stop); }} {}

void SimulatedEar::discard() {
    const std::lock_guard lock{mutex_};
    next_.reset();
}

std::vector<SimulatedEar::Heard> SimulatedEar::heard() const {
    const std::lock_guard lock{mutex_};
    return heard_;
}

void SimulatedEar::run(const std::stop_token& stop) {
    const auto signal = time_.make_signal();
    while (!stop.stop_requested()) {
        listen();
        signal->wait(stop, time_.now() + interval);
    }
}

void SimulatedEar::listen() {
    const SteadyTime now = time_.now();
    const PlayClock clock = clock_->snapshot();
    while (true) {
        auto frame = [&] {
            const std::lock_guard lock{mutex_};
            return std::exchange(next_, std::nullopt);
        }();
        if (!frame) {
            frame = queue_->try_pop(); // without the lock: it wakes the producer
        }
        if (!frame) {
            return;
        }
        const std::lock_guard lock{mutex_};
        if (!clock.running() || clock.due(frame->position) - lead > now) {
            next_ = std::move(frame);
            return;
        }
        heard_.push_back({frame->position, now});
    }
}

} // namespace velmora::test
