#include "play/reverse_plan.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t full_hd_bytes = std::size_t{1920} * 1088 * 3 / 2;
constexpr std::size_t small_bytes = full_hd_bytes / 16;

/// Twenty-five pictures a second, of which every second one is needed by no other.
ReverseStream stream_of(std::chrono::duration<double> effort, std::size_t picture_bytes = small_bytes) {
    ReverseStream stream{.unit = Ticks{3600}, .picture_bytes = picture_bytes, .shares = {}, .effort = effort};
    for (int i = 0; i < 25; ++i) {
        stream.shares.count(PictureClass::reference);
        stream.shares.count(PictureClass::disposable);
        stream.shares.count(PictureClass::two_way_reference);
        stream.shares.count(PictureClass::disposable);
    }
    return stream;
}

TEST(ReversePlanTest, GroupsAreTakenWholeAndAsLateAsIsSafe) {
    ReversePlan plan{stream_of(8ms)};
    EXPECT_FALSE(plan.next({.distance = 50, .group_in_front = 50, .held = 125, .lasts = 5s}));
    const auto stretch = plan.next({.distance = 50, .group_in_front = 50, .held = 20, .lasts = 800ms});
    ASSERT_TRUE(stretch);
    EXPECT_TRUE(stretch->is_whole);
    EXPECT_EQ(stretch->pictures, 50U);
    EXPECT_EQ(stretch->skip, AVDISCARD_DEFAULT);
    EXPECT_FALSE(stretch->is_urgent);
}

TEST(ReversePlanTest, WhatIsDueAtOnceIsUrgent) {
    ReversePlan plan{stream_of(8ms)};
    const auto stretch = plan.next({.distance = 50, .group_in_front = 50, .held = 5, .lasts = 200ms});
    ASSERT_TRUE(stretch);
    EXPECT_TRUE(stretch->is_urgent);
}

TEST(ReversePlanTest, ALittleStretchDoesNotWaitInFrontOfALongGroup) {
    ReversePlan plan{stream_of(8ms)};
    EXPECT_FALSE(plan.next({.distance = 10, .group_in_front = 10, .held = 75, .lasts = 3s}));
    EXPECT_TRUE(plan.next({.distance = 10, .group_in_front = 250, .held = 75, .lasts = 3s}));
}

TEST(ReversePlanTest, WhatWouldComeTooLateAfterTurningRoundIsDecodedInParts) {
    ReversePlan plan{stream_of(16ms)};
    const auto first = plan.next({.distance = 250, .group_in_front = 250, .held = 50, .lasts = 2s});
    ASSERT_TRUE(first);
    EXPECT_FALSE(first->is_whole);
    EXPECT_TRUE(first->is_awaited);
    EXPECT_LT(first->covered, 200);
    EXPECT_LT(plan.work(first->skip, 250, first->covered), plan.work(first->skip, 250, 250));

    const double rest = 250 - first->covered;
    const auto second =
        plan.next({.distance = rest, .group_in_front = 250, .held = 60, .lasts = 40ms * first->covered});
    ASSERT_TRUE(second);
    EXPECT_TRUE(second->is_whole) << "it is decoded while the first part is shown";
}

TEST(ReversePlanTest, LaterGroupsAreTakenWholeEvenIfTheyComeLate) {
    ReversePlan plan{stream_of(16ms)};
    std::optional<ReversePlan::Stretch> latest;
    for (int i = 0; i < 6; ++i) {
        latest = plan.next({.distance = 250, .group_in_front = 250, .held = 0, .lasts = 0s});
    }
    ASSERT_TRUE(latest);
    EXPECT_TRUE(latest->is_whole);
    EXPECT_FALSE(latest->is_awaited);
}

TEST(ReversePlanTest, NoMoreIsHeldThanMayBe) {
    ReversePlan plan{stream_of(8ms, full_hd_bytes)};
    const auto stretch = plan.next({.distance = 1000, .group_in_front = 1000, .held = 0, .lasts = 0s});
    ASSERT_TRUE(stretch);
    EXPECT_FALSE(stretch->is_whole);
    EXPECT_LE(stretch->pictures * full_hd_bytes, std::size_t{420} << 20U);
    EXPECT_FALSE(plan.next({.distance = 50, .group_in_front = 50, .held = 140, .lasts = 0s}));
}

TEST(ReversePlanTest, LeavesOutWhatTheMachineCannotDecodeInTime) {
    ReversePlan plan{stream_of(80ms)};
    const auto stretch = plan.next({.distance = 50, .group_in_front = 50, .held = 0, .lasts = 0s});
    ASSERT_TRUE(stretch);
    EXPECT_GT(stretch->skip, AVDISCARD_DEFAULT);
}

TEST(ReversePlanTest, LeavesOutWhatTheSpeedDoes) {
    ReversePlan plan{stream_of(8ms)};
    plan.set_magnitude(4);
    const auto stretch = plan.next({.distance = 50, .group_in_front = 50, .held = 0, .lasts = 0s});
    ASSERT_TRUE(stretch);
    EXPECT_EQ(stretch->skip, AVDISCARD_BIDIR);
}

TEST(ReversePlanTest, LearnsWhatDecodingTakes) {
    ReversePlan plan{stream_of(8ms)};
    for (int i = 0; i < 50; ++i) {
        plan.learn(50, 4s);
    }
    const auto stretch = plan.next({.distance = 50, .group_in_front = 50, .held = 0, .lasts = 0s});
    ASSERT_TRUE(stretch);
    EXPECT_GT(stretch->skip, AVDISCARD_DEFAULT) << "80 ms a picture";
}

TEST(ReversePlanTest, AStretchEndsWhereTheClockIsWhenItIsDecoded) {
    ReversePlan slow{stream_of(80ms)};
    ReversePlan fast{stream_of(1ms)};
    constexpr Ticks shown{3600 * 100};
    EXPECT_LT(slow.end_in_time(shown), shown / 2);
    EXPECT_GT(fast.end_in_time(shown), shown * 9 / 10);
    EXPECT_EQ(slow.end_in_time(Ticks::zero()), Ticks::zero());
}

TEST(ReversePlanTest, WhatIsLateIsNotLeftOutWhereTheScreenMakesUpForIt) {
    const ReversePlan plan{stream_of(2ms)};
    EXPECT_TRUE(plan.comes_in_time(400ms, 50));
    EXPECT_FALSE(plan.comes_in_time(400ms, 250)) << "decoding takes too long";
    EXPECT_FALSE(plan.comes_in_time(700ms, 1)) << "the screen does not catch up";
}

} // namespace
} // namespace velmora
