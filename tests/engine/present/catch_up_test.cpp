#include "present/catch_up.h"

#include <gtest/gtest.h>

#include <chrono>

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr auto patience = 500ms;

SteadyTime at(std::chrono::milliseconds time) {
    return SteadyTime{} + 1h + time;
}

TEST(CatchUp, TheFirstPictureNeedNotWait) {
    EXPECT_LE(CatchUp{}.soonest(at(40ms)), at(0ms));
}

TEST(CatchUp, EachPictureStandsForHalfItsTime) {
    CatchUp catch_up;
    catch_up.shown(at(0ms), at(200ms));
    EXPECT_EQ(catch_up.soonest(at(40ms)), at(220ms));
}

TEST(CatchUp, NothingWaitsLongBehindAGapOrAJump) {
    CatchUp catch_up;
    catch_up.shown(at(0ms), at(0ms));
    EXPECT_LE(catch_up.soonest(at(10s)), at(50ms));
    EXPECT_LE(catch_up.soonest(at(-1s)), at(0ms)) << "back";
    catch_up.shown(SteadyTime::max(), at(100ms));
    EXPECT_LE(catch_up.soonest(at(140ms)), at(120ms)) << "shown while the clock stood";
}

TEST(CatchUp, PicturesThatAreLateForAMomentAreShown) {
    CatchUp catch_up;
    for (auto late = 400ms; late > 0ms; late -= 20ms) {
        EXPECT_FALSE(catch_up.has_failed(late, patience, at(400ms - late)));
    }
}

TEST(CatchUp, PicturesThatAreVeryLateAreNot) {
    EXPECT_TRUE(CatchUp{}.has_failed(501ms, patience, at(0ms)));
}

TEST(CatchUp, PicturesThatStayLateAreNot) {
    CatchUp catch_up;
    for (auto time = 0ms; time <= 1s; time += 40ms) {
        EXPECT_FALSE(catch_up.has_failed(100ms, patience, at(time)));
    }
    EXPECT_TRUE(catch_up.has_failed(100ms, patience, at(1040ms)));
    EXPECT_FALSE(catch_up.has_failed(0ms, patience, at(1080ms))) << "back on time";
    EXPECT_FALSE(catch_up.has_failed(100ms, patience, at(1120ms)));
}

} // namespace
} // namespace velmora
