#include "live/live_clock.h"

#include <algorithm>
#include <chrono>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr auto window_length = 500ms;
/// Whatever was late in this many windows decides what is due.
constexpr std::size_t windows_of_lateness = 4;
/// Being early by more than this, a stream has jumped or caught up.
constexpr auto jump = 500ms;
/// An excess of delay above this is taken back in one step, one below it unnoticeably.
constexpr auto most_crept = 60ms;
/// Time taken back per time passed.
constexpr int creep_divisor = 200;

} // namespace

bool LiveClock::note(Position position, SteadyTime ready) {
    const SteadyTime origin =
        ready - std::chrono::duration_cast<SteadyClock::duration>(position.time_since_epoch());
    if (origin_ && origin + delay_ < *origin_ - jump) {
        count_ = 0;
        origin_.reset();
    }
    remember(origin, ready);
    if (!origin_) {
        moved_at_ = ready;
        return move_to(origin + delay_);
    }
    const SteadyTime target = this->target();
    const auto passed = std::max(ready - moved_at_, SteadyClock::duration::zero());
    moved_at_ = ready;
    if (target >= *origin_) {
        return move_to(target);
    }
    const auto excess = *origin_ - target;
    return move_to(excess > most_crept ? target : *origin_ - std::min(excess, passed / creep_divisor));
}

void LiveClock::restart() {
    count_ = 0;
    origin_.reset();
}

void LiveClock::remember(SteadyTime origin, SteadyTime now) {
    if (count_ == 0 || now - windows_[count_ - 1].begin >= window_length) {
        if (count_ == windows_.size()) {
            std::rotate(windows_.begin(), windows_.begin() + 1, windows_.end());
            --count_;
        }
        windows_[count_] = Window{now, origin, origin};
        ++count_;
    }
    Window& window = windows_[count_ - 1];
    window.latest = std::max(window.latest, origin);
    window.behind_first += origin - window.first;
    ++window.count;
}

SteadyTime LiveClock::target() const {
    const auto end = windows_.begin() + static_cast<std::ptrdiff_t>(count_);
    const auto lately = end - static_cast<std::ptrdiff_t>(std::min(count_, windows_of_lateness));
    const SteadyTime needed = std::ranges::max_element(lately, end, {}, &Window::latest)->latest;
    if (delay_ == Delay::zero()) {
        return needed;
    }
    // What wavers within the delay must not add to it: the least disturbed half second is what counts.
    const SteadyTime undisturbed =
        std::ranges::min_element(windows_.begin(), end, {}, &Window::average)->average();
    return std::max(needed, undisturbed + delay_);
}

bool LiveClock::move_to(SteadyTime origin) {
    const bool has_changed = origin_ != origin;
    origin_ = origin;
    return has_changed;
}

} // namespace velmora
