#include "pacing/jitter_clock.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <utility>

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
/// Time added per time passed: nobody sees pictures follow each other so much slower.
constexpr double glide = 0.05;
/// Broadcast groups are half a second long, those of files up to ten: so many show what key pictures take.
constexpr auto memory_of_keys = 60s;
/// Clock references come every 100 ms at least (ISO/IEC 13818-1, 2.7.2): the least delayed of so many counts.
constexpr auto memory_of_promises = 2s;

} // namespace

bool JitterClock::note(Position position, SteadyTime ready, Kind kind) {
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
    const SteadyTime wanted = std::max(target, expected().value_or(target));
    const auto passed = std::max(ready - moved_at_, SteadyClock::duration::zero());
    moved_at_ = ready;
    if (target > *origin_) {
        is_catching_up_ = false;
        return move_to(target);
    }
    if (wanted >= *origin_) {
        const auto step = std::chrono::duration_cast<SteadyClock::duration>(passed * glide);
        is_catching_up_ = false;
        return move_to(std::min(wanted, *origin_ + step));
    }
    const auto excess = *origin_ - wanted;
    is_catching_up_ = is_catching_up_ || excess > most_crept;
    const auto step =
        std::chrono::duration_cast<SteadyClock::duration>(passed * (is_catching_up_ ? catching_up : creep));
    return move_to(*origin_ - std::min(excess, step));
}

void JitterClock::note_promise(Position clock, SteadyTime arrived) {
    const SteadyTime origin =
        arrived - std::chrono::duration_cast<SteadyClock::duration>(clock.time_since_epoch());
    while (!promises_.empty() && promises_.back().origin >= origin) {
        promises_.pop_back();
    }
    promises_.push_back({arrived, origin});
    while (arrived - promises_.front().ready > memory_of_promises) {
        promises_.pop_front();
    }
}

void JitterClock::restart() {
    count_ = 0;
    keys_.clear();
    promises_.clear();
    origin_.reset();
    is_catching_up_ = false;
    stood_still_at_.reset();
}

/// Pictures are ready one after the other, so that they come to be early by and by: where key pictures take
/// their time on the wire those at the end of a group are half a second earlier, and none may be passed over.
bool JitterClock::has_jumped(SteadyTime origin, SteadyTime now) const {
    if (!origin_) {
        return false;
    }
    const bool has_just_stood_still = stood_still_at_ && now - *stood_still_at_ < memory_of_standstill;
    return origin < latest_ - jump || (has_just_stood_still && origin + delay_ < *origin_ - jump);
}

void JitterClock::remember(SteadyTime origin, SteadyTime now, Kind kind) {
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
    if (kind == Kind::key) {
        keys_.push_back({now, origin});
    }
    while (!keys_.empty() && now - keys_.front().ready > memory_of_keys) {
        keys_.pop_front();
    }
}

/// The least disturbed moment.
SteadyTime JitterClock::undisturbed() const {
    const auto end = windows_.begin() + static_cast<std::ptrdiff_t>(count_);
    return std::ranges::min_element(windows_.begin(), end, {}, &Window::average)->average();
}

/// How late the largest key picture is. One that is later than the sender promised was held up by something
/// else: it counts once there was another one.
std::optional<SteadyTime> JitterClock::largest_key() const {
    std::optional<SteadyTime> largest;
    std::optional<SteadyTime> second;
    for (const KeyPicture& key : keys_) {
        if (!largest || key.origin > *largest) {
            second = std::exchange(largest, key.origin);
        } else if (!second || key.origin > *second) {
            second = key.origin;
        }
    }
    const bool may_be_chance = largest && !promises_.empty() && *largest > promises_.front().origin;
    return may_be_chance ? second : largest;
}

/// As late as pictures were lately, or key pictures within a minute, which are large and late each time, or
/// whatever else has been twice.
SteadyTime JitterClock::needed() const {
    const auto begin = windows_.begin();
    const auto end = begin + static_cast<std::ptrdiff_t>(count_);
    const auto lately = end - static_cast<std::ptrdiff_t>(std::min(count_, windows_of_lateness));
    const SteadyTime needed = std::ranges::max_element(lately, end, {}, &Window::latest)->latest;
    const auto latest = std::ranges::max_element(begin, end, {}, &Window::latest);
    SteadyTime again = needed;
    for (auto window = begin; window != end; ++window) {
        // One standstill may reach into the window beside it.
        if (std::abs(window - latest) > 1) {
            again = std::max(again, window->latest);
        }
    }
    again = std::max(again, largest_key().value_or(again));
    // Less than that is taken back so slowly that it does not show.
    return again - needed > most_crept ? again : needed;
}

SteadyTime JitterClock::target() const {
    const SteadyTime needed = this->needed();
    // What wavers within the delay must not add to it: the least disturbed moment is what counts.
    return delay_ == Delay::zero() ? needed : std::max(needed, undisturbed() + delay_);
}

/// Where the largest key picture of all is to be expected after those that were seen: of n values up to an
/// unknown one the largest, m, falls short of it by m / n in the mean (the German tank problem).
std::optional<SteadyTime> JitterClock::expected() const {
    const auto largest = largest_key();
    if (!largest || promises_.empty()) {
        return std::nullopt;
    }
    const auto longest = std::max(*largest - undisturbed(), SteadyClock::duration::zero());
    return std::min(*largest + longest / static_cast<SteadyClock::rep>(keys_.size()),
                    promises_.front().origin);
}

bool JitterClock::move_to(SteadyTime origin) {
    const bool has_changed = origin_ != origin;
    origin_ = origin;
    return has_changed;
}

} // namespace velmora
