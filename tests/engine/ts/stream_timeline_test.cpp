#include "ts/stream_timeline.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr std::int64_t wrap = std::int64_t{1} << 33U;
constexpr std::int64_t frame = 3600;

StreamTime at(std::int64_t ticks) {
    return StreamTime{ticks & (wrap - 1)};
}

/// Maps `count` units without reordering from `first` on.
Position map_run(StreamTimeline& timeline, std::int64_t first, int count) {
    Position last{};
    for (int i = 0; i < count; ++i) {
        last = timeline.map_leading(at(first + i * frame), at(first + i * frame), false).presentation;
    }
    return last;
}

TEST(StreamTimeline, BeginsAtZeroWhateverTheStampsSay) {
    StreamTimeline timeline;
    EXPECT_EQ(timeline.map_leading(at(123456), at(123456 - 2 * frame), false).presentation, Position{});
    EXPECT_EQ(timeline.map_leading(at(123456 + 4 * frame), at(123456 - frame), false).presentation,
              Position{Ticks{4 * frame}});
}

TEST(StreamTimeline, GoesOnAcrossTheWrap) {
    StreamTimeline timeline;
    EXPECT_EQ(map_run(timeline, wrap - 50 * frame, 100), Position{Ticks{99 * frame}});
    EXPECT_EQ(timeline.end(), Position{Ticks{100 * frame}});
}

TEST(StreamTimeline, LaysAnotherRecordingDirectlyBehind) {
    StreamTimeline timeline;
    map_run(timeline, 90000, 500);
    const auto joint = timeline.map_leading(at(90000), at(90000 - 2 * frame), false);
    EXPECT_TRUE(joint.begins_piece);
    EXPECT_EQ(joint.presentation, Position{20s});
    const auto forward = timeline.map_leading(at(90000 * 3600), at(90000 * 3600), false);
    EXPECT_TRUE(forward.begins_piece);
    EXPECT_EQ(forward.presentation, timeline.end() - Ticks{timeline.unit_duration()});
}

TEST(StreamTimeline, KeepsSmallGapsUnlessTheyAreAnnounced) {
    StreamTimeline timeline;
    map_run(timeline, 0, 10);
    EXPECT_EQ(timeline.map_leading(at(5 * 90000), at(5 * 90000), false).presentation, Position{5s});
    const auto announced = timeline.map_leading(at(8 * 90000), at(8 * 90000), true);
    EXPECT_TRUE(announced.begins_piece);
    EXPECT_EQ(announced.presentation, Position{5s} + timeline.unit_duration());
}

TEST(StreamTimeline, IsNotCarriedAwayByADamagedStamp) {
    StreamTimeline timeline;
    map_run(timeline, 0, 100);
    const auto damaged =
        timeline.map_leading(at((std::int64_t{1} << 30U) + 100 * frame), at(100 * frame), false);
    EXPECT_EQ(damaged.presentation, Position{4s});
    EXPECT_EQ(timeline.map_leading(at(101 * frame), at(101 * frame), false).presentation,
              Position{4s} + Ticks{frame});
    EXPECT_LE(timeline.end(), Position{5s});
}

TEST(StreamTimeline, GoesOnFromAnAnchor) {
    StreamTimeline timeline{TimeAnchor{at(wrap - frame), Position{100s}}};
    EXPECT_EQ(timeline.map_leading(at(wrap + frame), at(wrap - frame), false).presentation,
              Position{100s} + Ticks{2 * frame});
}

TEST(StreamTimeline, PlacesSoundByWhereItWasBefore) {
    StreamTimeline timeline;
    map_run(timeline, 0, 100);
    EXPECT_EQ(timeline.map_other(at(90000), std::nullopt), Position{1s});
    timeline.map_leading(at(0), at(0), true);
    EXPECT_EQ(timeline.map_other(at(4 * 90000), Position{Ticks{4 * 90000 - frame}}), Position{4s})
        << "still the first piece's";
    EXPECT_EQ(timeline.map_other(at(900), Position{4s}), Position{4s} + Ticks{900});
    EXPECT_FALSE(timeline.map_other(at(90000 * 3600), std::nullopt));
}

} // namespace
} // namespace velmora
