#include "present/catch_up.h"

#include <algorithm>
#include <chrono>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr auto on_time = 10ms;
/// What is late for longer does not catch up.
constexpr auto longest_lateness = 1s;
/// Pictures that stand longer, behind a gap, are not what follows too fast.
constexpr SteadyClock::duration longest_interval = 100ms;
constexpr int faster = 2;

} // namespace

bool CatchUp::has_failed(SteadyClock::duration late, SteadyClock::duration patience, SteadyTime now) {
    if (late <= on_time) {
        late_since_.reset();
    } else if (!late_since_) {
        late_since_ = now;
    }
    return late > patience || (late_since_ && now - *late_since_ > longest_lateness);
}

SteadyTime CatchUp::soonest(SteadyTime due) const {
    if (!shown_) {
        return SteadyTime::min();
    }
    return shown_->at +
           std::clamp(due - shown_->due, SteadyClock::duration::zero(), longest_interval) / faster;
}

} // namespace velmora
