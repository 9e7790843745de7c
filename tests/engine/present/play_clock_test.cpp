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

TEST(PlayClock, OfARunStandsUntilItsFirstPictureIsShown) {
    SharedPlayClock clock;
    const SteadyTime now{100s};
    clock.hold(at(10));
    EXPECT_FALSE(clock.set_rate(2.0, now)) << "it takes effect when the run begins";
    EXPECT_FALSE(clock.has_begun());
    EXPECT_EQ(clock.snapshot().position(now + 5s), at(10));
    clock.begin_run(clock.generation(), at(11), now + 5s);
    EXPECT_TRUE(clock.has_begun());
    EXPECT_EQ(clock.snapshot().position(now + 6s), at(13));
    clock.begin_run(clock.generation(), at(50), now + 6s);
    EXPECT_EQ(clock.snapshot().position(now + 6s), at(13)) << "it goes already";
}

TEST(PlayClock, IgnoresTheBeginningOfAStaleRun) {
    SharedPlayClock clock;
    const SteadyTime now{100s};
    const auto stale = clock.generation();
    clock.hold(at(10));
    clock.begin_run(stale, at(20), now);
    EXPECT_FALSE(clock.has_begun());
    EXPECT_EQ(clock.snapshot().position(now), at(10));
}

TEST(PlayClock, StandsAtTheEndOfARunWhateverItsRate) {
    SharedPlayClock clock;
    const SteadyTime now{100s};
    clock.begin_run(clock.generation(), at(10), now);
    clock.stop_at(at(12));
    EXPECT_FALSE(clock.set_rate(5.0, now + 1s));
    clock.begin_run(clock.generation(), at(1), now + 1s);
    EXPECT_EQ(clock.snapshot().position(now + 9s), at(12));
    EXPECT_TRUE(clock.has_begun()) << "it was shown";
    EXPECT_EQ(clock.rate_of_run(), 5.0);
}

TEST(PlayClock, IsHeldBackToWhatItHasPassedInBothDirections) {
    SharedPlayClock clock;
    const SteadyTime now{100s};
    for (const double rate : {1.0, -1.0}) {
        clock.anchor(at(10), rate, now);
        const Position passed = rate > 0 ? at(12) : at(8);
        clock.hold_back_to(passed, now + 1s);
        EXPECT_EQ(clock.snapshot().due(passed), now + 2s) << "not due yet, nothing changes";
        clock.hold_back_to(passed, now + 5s);
        EXPECT_EQ(clock.snapshot().position(now + 5s), passed);
        EXPECT_EQ(clock.snapshot().rate(), rate);
    }
    clock.anchor(at(10), 0.0, now);
    clock.hold_back_to(at(8), now + 5s);
    EXPECT_EQ(clock.snapshot().position(now + 5s), at(10)) << "a clock that stands passes nothing";
}

} // namespace
} // namespace velmora
