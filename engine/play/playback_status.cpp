#include "play/playback_status.h"

#include <algorithm>

namespace velmora {

namespace {

PlaybackReport::State state_of(const PlaybackFacts& facts) {
    using enum PlaybackReport::State;
    if (!facts.running) {
        return off;
    }
    if (facts.at_end) {
        return at_end;
    }
    if (facts.at_start) {
        return at_start;
    }
    return facts.tempo.is_paused() ? pausing : playing;
}

} // namespace

PlaybackReport PlaybackStatus::report(Position position, Ticks length) const {
    const std::lock_guard lock{mutex_};
    const Ticks elapsed = facts_.at_end ? length : position.time_since_epoch();
    PlaybackReport report;
    report.state = state_of(facts_);
    report.tempo = facts_.tempo;
    report.elapsed = std::clamp(elapsed, Ticks{0}, std::max(Ticks{0}, length));
    report.length = length;
    report.stream = {facts_.stream, counters_ - baseline_};
    return report;
}

void PlaybackStatus::reset_counters() {
    const std::lock_guard lock{mutex_};
    baseline_ = counters_;
}

} // namespace velmora
