#include "live/live_clock.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr auto window_length = 400ms;
/// Whatever was late in this many windows decides what is due.
constexpr std::size_t windows_of_lateness = 4;
/// Being early by more than this, a stream has jumped, or caught up after it stood still for as long.
constexpr auto jump = 500ms;
constexpr auto memory_of_standstill = 3s;
/// An excess of delay above this is taken back soon, one below it unnoticeably.
constexpr auto most_crept = 60ms;
/// Pictures follow each other twice as fast then: none is passed over.
constexpr double catching_up = 0.5;
/// Time taken back per time passed.
constexpr double creep = 0.005;

} // namespace

bool LiveClock::note(Position position, SteadyTime ready, Kind kind) {
    const SteadyTime origin =
        ready - std::chrono::duration_cast<SteadyClock::duration>(position.time_since_epoch());
    if (has_jumped(origin, ready)) {
        restart();
    }
    if (kind == Kind::other && origin_ && origin + delay_ > *origin_ + jump) {
        stood_still_at_ = ready;
    }
    latest_ = origin;
    remember(origin, ready, kind);
    if (!origin_) {
        moved_at_ = ready;
        return move_to(origin + delay_);
    }
    const SteadyTime target = this->target();
    const auto passed = std::max(ready - moved_at_, SteadyClock::duration::zero());
    moved_at_ = ready;
    if (target >= *origin_) {
        is_catching_up_ = false;
        return move_to(target);
    }
    const auto excess = *origin_ - target;
    is_catching_up_ = is_catching_up_ || excess > most_crept;
    const auto step =
        std::chrono::duration_cast<SteadyClock::duration>(passed * (is_catching_up_ ? catching_up : creep));
    return move_to(*origin_ - std::min(excess, step));
}

void LiveClock::restart() {
    count_ = 0;
    origin_.reset();
    is_catching_up_ = false;
    stood_still_at_.reset();
}

/// Pictures are ready one after the other, so that they come to be early by and by: where key pictures take
/// their time on the wire those at the end of a group are half a second earlier, and none may be passed over.
bool LiveClock::has_jumped(SteadyTime origin, SteadyTime now) const {
    if (!origin_) {
        return false;
    }
    const bool has_just_stood_still = stood_still_at_ && now - *stood_still_at_ < memory_of_standstill;
    return origin < latest_ - jump || (has_just_stood_still && origin + delay_ < *origin_ - jump);
}

void LiveClock::remember(SteadyTime origin, SteadyTime now, Kind kind) {
    if (count_ == 0 || now - windows_[count_ - 1].begin >= window_length) {
        if (count_ == windows_.size()) {
            std::rotate(windows_.begin(), windows_.begin() + 1, windows_.end());
            --count_;
        }
        windows_[count_] = Window{now, origin, kind == Kind::key, origin};
        ++count_;
    }
    Window& window = windows_[count_ - 1];
    if (origin > window.latest) {
        window.latest = origin;
        window.is_latest_key = kind == Kind::key;
    }
    window.behind_first += origin - window.first;
    ++window.count;
}

/// As late as pictures were lately, or key pictures within some seconds, which are large and late each time,
/// or whatever else has been twice.
SteadyTime LiveClock::needed() const {
    const auto begin = windows_.begin();
    const auto end = begin + static_cast<std::ptrdiff_t>(count_);
    const auto lately = end - static_cast<std::ptrdiff_t>(std::min(count_, windows_of_lateness));
    const SteadyTime needed = std::ranges::max_element(lately, end, {}, &Window::latest)->latest;
    const auto latest = std::ranges::max_element(begin, end, {}, &Window::latest);
    SteadyTime again = needed;
    for (auto window = begin; window != end; ++window) {
        // One standstill may reach into the window beside it.
        if (window->is_latest_key || std::abs(window - latest) > 1) {
            again = std::max(again, window->latest);
        }
    }
    // Less than that is taken back so slowly that it does not show.
    return again - needed > most_crept ? again : needed;
}

SteadyTime LiveClock::target() const {
    const auto end = windows_.begin() + static_cast<std::ptrdiff_t>(count_);
    const SteadyTime needed = this->needed();
    if (delay_ == Delay::zero()) {
        return needed;
    }
    // What wavers within the delay must not add to it: the least disturbed moment is what counts.
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
