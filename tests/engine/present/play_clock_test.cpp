#include "present/play_clock.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr Position at(double seconds) {
    return Position{Ticks{static_cast<std::int64_t>(seconds * 90000)}};
}

TEST(PlayClock, StandsStillAtTheStartUntilAnchored) {
    const PlayClock clock;
    EXPECT_EQ(clock.position(SteadyTime{} + 5s), Position{});
    EXPECT_FALSE(clock.running());
    EXPECT_EQ(clock.due(at(1)), SteadyTime::max());
}

TEST(PlayClock, AdvancesWithItsRateInBothDirections) {
    PlayClock clock;
    const SteadyTime now{100s};
    clock.anchor(at(10), 1.0, now);
    EXPECT_EQ(clock.position(now + 2s), at(12));
    clock.anchor(at(10), -2.0, now);
    EXPECT_EQ(clock.position(now + 2s), at(6));
}

TEST(PlayClock, TellsWhenAPositionIsDue) {
    PlayClock clock;
    const SteadyTime now{100s};
    clock.anchor(at(10), 2.0, now);
    EXPECT_EQ(clock.due(at(14)), now + 2s);
    clock.anchor(at(10), -1.0, now);
    EXPECT_EQ(clock.due(at(7)), now + 3s);
}

TEST(PlayClock, ChangesItsRateWithoutAJump) {
    PlayClock clock;
    const SteadyTime now{100s};
    clock.anchor(at(0), 1.0, now);
    clock.set_rate(0.0, now + 3s);
    EXPECT_EQ(clock.position(now + 9s), at(3));
    clock.set_rate(4.0, now + 9s);
    EXPECT_EQ(clock.position(now + 10s), at(7));
}

} // namespace
} // namespace velmora
