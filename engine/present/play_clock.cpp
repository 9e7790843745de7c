#include "present/play_clock.h"

#include <cmath>

namespace velmora {

namespace {

constexpr double ticks_per_second = 90000.0;

} // namespace

void PlayClock::anchor(Position position, double rate, SteadyTime now) {
    anchor_ = position;
    anchored_at_ = now;
    rate_ = rate;
}

void PlayClock::set_rate(double rate, SteadyTime now) {
    anchor(position(now), rate, now);
}

Position PlayClock::position(SteadyTime now) const {
    const std::chrono::duration<double> elapsed = now - anchored_at_;
    return anchor_ + Ticks{std::llround(elapsed.count() * rate_ * ticks_per_second)};
}

SteadyTime PlayClock::due(Position position) const {
    if (!running()) {
        return SteadyTime::max();
    }
    const std::chrono::duration<double> wait{static_cast<double>((position - anchor_).count()) /
                                             (ticks_per_second * rate_)};
    return anchored_at_ + std::chrono::duration_cast<SteadyClock::duration>(wait);
}

void SharedPlayClock::hold(Position position) {
    const std::lock_guard lock{mutex_};
    ++generation_;
    state_ = State::held;
    clock_.anchor(position, 0.0, SteadyTime{});
}

void SharedPlayClock::begin_run(std::uint64_t generation, Position position, SteadyTime now) {
    const std::lock_guard lock{mutex_};
    if (state_ == State::held && generation == generation_) {
        state_ = State::running;
        clock_.anchor(position, rate_, now);
    }
}

bool SharedPlayClock::set_rate(double rate, SteadyTime now) {
    const std::lock_guard lock{mutex_};
    rate_ = rate;
    if (state_ != State::running || clock_.rate() == rate) {
        return false;
    }
    clock_.set_rate(rate, now);
    return true;
}

void SharedPlayClock::stop_at(Position position) {
    const std::lock_guard lock{mutex_};
    state_ = State::stopped;
    clock_.anchor(position, 0.0, SteadyTime{});
}

void SharedPlayClock::anchor(Position position, double rate, SteadyTime now) {
    const std::lock_guard lock{mutex_};
    state_ = State::running;
    rate_ = rate;
    clock_.anchor(position, rate, now);
}

void SharedPlayClock::hold_back_to(Position position, SteadyTime now) {
    const std::lock_guard lock{mutex_};
    if (clock_.due(position) < now) {
        clock_.anchor(position, clock_.rate(), now);
    }
}

std::uint64_t SharedPlayClock::generation() const {
    const std::lock_guard lock{mutex_};
    return generation_;
}

bool SharedPlayClock::has_begun() const {
    const std::lock_guard lock{mutex_};
    return state_ != State::held;
}

double SharedPlayClock::rate_of_run() const {
    const std::lock_guard lock{mutex_};
    return rate_;
}

PlayClock SharedPlayClock::snapshot() const {
    const std::lock_guard lock{mutex_};
    return clock_;
}

} // namespace velmora
