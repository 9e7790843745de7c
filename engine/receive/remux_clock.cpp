#include "receive/remux_clock.h"

#include <algorithm>

namespace velmora {

namespace {

using namespace std::chrono_literals;

/// What differs by less may be a picture's place, or a packet's way.
constexpr Ticks jump{600ms};

Ticks ticks_between(SteadyTime from, SteadyTime to) {
    return std::chrono::duration_cast<Ticks>(to - from);
}

} // namespace

Ticks RemuxClock::due(SteadyTime now) const {
    return lead + ticks_between(origin_, now);
}

Ticks RemuxClock::map(int stream, Ticks time, SteadyTime now) {
    const auto [entry, is_new] = streams_.try_emplace(stream);
    Stream& state = entry->second;
    if (is_new) {
        state.offset = share(stream, due(now) - time);
    } else {
        const Ticks passed = ticks_between(state.last_arrival, now);
        const Ticks step = time - state.last_time;
        // Packets that were held up come at once: a small step is no jump, however long it took.
        if (step < -jump || step > passed + jump) {
            state.offset = share(stream, state.offset + passed - step);
        }
    }
    state.last_time = time;
    state.last_arrival = now;
    return time + state.offset;
}

/// Another stream's offset, when it is about the same.
Ticks RemuxClock::share(int stream, Ticks offset) const {
    for (const auto& [other, state] : streams_) {
        if (other != stream && std::chrono::abs(state.offset - offset) <= jump) {
            return state.offset;
        }
    }
    return offset;
}

Ticks DecodingTimes::next(Ticks presentation) {
    if (!last_) {
        for (std::size_t i = 0; i < waiting_.size(); ++i) {
            waiting_.at(i) = presentation - assumed_interval * static_cast<std::int64_t>(depth + 1 - i);
        }
    }
    // The smallest was used: its place is for the new one.
    waiting_.front() = presentation;
    std::ranges::sort(waiting_);
    const Ticks decoding = last_ ? std::max(waiting_.front(), *last_ + Ticks{1}) : waiting_.front();
    last_ = decoding;
    return decoding;
}

} // namespace velmora
