#include "pacing/jitter_clock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;

constexpr milliseconds interval{40};

Position at(milliseconds time) {
    return Position{std::chrono::duration_cast<Ticks>(time)};
}

/// A stream whose pictures are ready `lateness` after their place on an even scale.
class Stream {
public:
    explicit Stream(milliseconds delay) : clock{delay} {}

    /// @return when the picture is due, counted from its place on the scale
    milliseconds picture(milliseconds lateness, JitterClock::Kind kind = JitterClock::Kind::other) {
        const milliseconds place = interval * count_++;
        clock.note(at(place), SteadyTime{} + place + lateness, kind);
        return std::chrono::duration_cast<milliseconds>(*clock.origin() - SteadyTime{});
    }
    /// @return when the last one is due
    milliseconds pictures(int count, milliseconds lateness) {
        milliseconds due{0};
        for (int i = 0; i < count; ++i) {
            due = picture(lateness);
        }
        return due;
    }

    JitterClock clock;

private:
    int count_{0};
};

TEST(JitterClock, IsUnknownBeforeTheFirstPicture) {
    EXPECT_FALSE(JitterClock{0ms}.origin());
}

TEST(JitterClock, WithoutDelayAPictureIsDueWhenItIsReady) {
    Stream stream{0ms};
    EXPECT_EQ(stream.pictures(100, 10ms), 10ms);
}

TEST(JitterClock, ALatePictureMovesWhatIsDueAtOnce) {
    Stream stream{0ms};
    stream.pictures(100, 10ms);
    EXPECT_EQ(stream.picture(35ms), 35ms);
}

TEST(JitterClock, ALittleLatenessIsTakenBackUnnoticeably) {
    Stream stream{0ms};
    stream.pictures(100, 10ms);
    stream.picture(35ms);
    EXPECT_EQ(stream.pictures(25, 10ms), 35ms) << "it may come again";
    const auto before = stream.pictures(50, 10ms);
    EXPECT_LT(before, 35ms);
    EXPECT_GE(stream.picture(10ms), before - 1ms) << "in small steps";
    EXPECT_EQ(stream.pictures(25 * 6, 10ms), 10ms);
}

TEST(JitterClock, AStallIsForgottenWithinThreeSeconds) {
    Stream stream{0ms};
    stream.pictures(100, 10ms);
    EXPECT_EQ(stream.picture(400ms), 400ms);
    EXPECT_EQ(stream.pictures(75, 10ms), 10ms);
}

TEST(JitterClock, AfterAStallPicturesFollowEachOtherFasterAndNoneIsPassedOver) {
    Stream stream{0ms};
    stream.pictures(100, 10ms);
    auto due = stream.picture(400ms);
    for (int i = 0; i < 75; ++i) {
        const auto next = stream.picture(10ms);
        EXPECT_GT(interval + next - due, interval / 3) << "from one picture to the next";
        due = next;
    }
}

TEST(JitterClock, KeyPicturesThatAreLateNeverMoveWhatIsDueAgain) {
    Stream stream{0ms};
    for (int group = 0; group < 20; ++group) {
        EXPECT_GE(stream.picture(150ms, JitterClock::Kind::key), 145ms) << "group " << group;
        EXPECT_GE(stream.pictures(49, 10ms), 145ms) << "group " << group;
    }
}

TEST(JitterClock, PicturesThatAreLateAgainAndAgainMoveWhatIsDueOnlyOnce) {
    Stream stream{0ms};
    for (int group = 0; group < 3; ++group) {
        stream.picture(150ms);
        stream.pictures(49, 10ms);
    }
    for (int group = 0; group < 20; ++group) {
        EXPECT_GE(stream.picture(150ms), 150ms);
        EXPECT_GE(stream.pictures(49, 10ms), 145ms) << "group " << group;
    }
}

TEST(JitterClock, AStreamThatCatchesUpIsFollowedAtOnce) {
    Stream stream{0ms};
    stream.pictures(100, 10ms);
    EXPECT_EQ(stream.picture(2000ms), 2000ms);
    EXPECT_EQ(stream.picture(1900ms), 2000ms);
    EXPECT_EQ(stream.picture(10ms), 10ms);
}

TEST(JitterClock, ADelayIsAddedAndHidesJitterUpToIt) {
    Stream stream{200ms};
    EXPECT_EQ(stream.pictures(100, 10ms), 210ms);
    for (int round = 0; round < 100; ++round) {
        for (const auto due :
             {stream.picture(milliseconds{10 + round * 37 % 190}), stream.pictures(12, 10ms)}) {
            EXPECT_GE(due, 205ms);
            EXPECT_LE(due, 215ms);
        }
    }
    EXPECT_EQ(stream.picture(260ms), 260ms) << "more than that is not hidden";
}

TEST(JitterClock, ASenderClockThatIsOffNeverAccumulates) {
    for (const auto& [ppm, delay] : {std::pair{-200, 0ms}, {200, 0ms}, {-200, 200ms}, {200, 200ms}}) {
        JitterClock clock{delay};
        SteadyTime due{};
        SteadyTime ready{};
        for (int second = 0; second < 24 * 3600; second += 1) {
            // One picture a second of the sender's clock, as seen by ours.
            const Position position = at(std::chrono::seconds{second});
            ready = SteadyTime{} + std::chrono::seconds{second} + std::chrono::microseconds{second * ppm};
            clock.note(position, ready);
            due = *clock.origin() + std::chrono::seconds{second};
        }
        EXPECT_GE(due, ready + std::max<milliseconds>(delay - 10ms, 0ms)) << ppm;
        EXPECT_LE(due - ready, delay + 10ms) << ppm;
    }
}

TEST(JitterClock, AfterAKeyPictureThatWasLongOnItsWayNoPictureIsPassedOver) {
    Stream stream{0ms};
    stream.pictures(50, 10ms);
    for (int group = 0; group < 3; ++group) {
        milliseconds lateness = 700ms;
        auto due = stream.picture(lateness, JitterClock::Kind::key);
        EXPECT_GE(due, lateness);
        for (int i = 0; i < 49; ++i) {
            // The others are short: each is ready soon after the one in front of it.
            lateness = std::max(lateness - 30ms, 10ms);
            const auto next = stream.picture(lateness);
            EXPECT_GT(interval + next - due, interval / 3) << "picture " << i << " of group " << group;
            due = next;
        }
    }
}

TEST(JitterClock, AClockThatRanOnWhileNothingCameIsBackToLiveAtOnce) {
    Stream stream{0ms};
    stream.pictures(100, 10ms);
    constexpr milliseconds suspended{std::chrono::hours{1}};
    EXPECT_EQ(stream.picture(suspended + 10ms), suspended + 10ms);
    EXPECT_EQ(stream.pictures(100, suspended + 10ms), suspended + 10ms) << "no faster than it comes";
}

TEST(JitterClock, AClockThatStoodStillWhileTheStreamWentOnIsBackToLiveAtOnce) {
    for (const milliseconds delay : {0ms, 200ms}) {
        Stream stream{delay};
        stream.pictures(100, 10ms);
        constexpr milliseconds suspended{std::chrono::hours{1}};
        EXPECT_EQ(stream.picture(10ms - suspended), 10ms - suspended + delay);
        EXPECT_EQ(stream.pictures(100, 10ms - suspended), 10ms - suspended + delay);
    }
}

TEST(JitterClock, TheLargestKeyPictureOfAMinuteCounts) {
    Stream stream{0ms};
    stream.picture(150ms, JitterClock::Kind::key);
    stream.pictures(49, 10ms);
    for (int group = 1; group < 29; ++group) { // of two seconds each
        stream.picture(60ms, JitterClock::Kind::key);
        EXPECT_EQ(stream.pictures(49, 10ms), 150ms) << "group " << group;
    }
    for (int group = 0; group < 15; ++group) {
        stream.picture(60ms, JitterClock::Kind::key);
        stream.pictures(49, 10ms);
    }
    EXPECT_LE(stream.pictures(1, 10ms), 60ms) << "it is forgotten then";
}

/// Each picture is ready in time by the sender's promise, the most that a picture may be late.
class PromisingStream : public Stream {
public:
    explicit PromisingStream(milliseconds promise) : Stream{0ms}, promise_{promise} {}

    milliseconds promised_picture(milliseconds lateness, JitterClock::Kind kind = JitterClock::Kind::other) {
        clock.note_promise(Position{}, SteadyTime{} + promise_);
        return picture(lateness, kind);
    }
    milliseconds group(milliseconds key, milliseconds others) {
        auto due = promised_picture(key, JitterClock::Kind::key);
        for (int i = 0; i < 49; ++i) {
            const auto next = promised_picture(others);
            EXPECT_LE(next - due, interval / 20) << "at most a twentieth slower";
            due = next;
        }
        return due;
    }

private:
    milliseconds promise_;
};

TEST(JitterClock, GlidesToWhereALargerKeyPictureIsToBeExpected) {
    PromisingStream stream{500ms};
    EXPECT_EQ(stream.promised_picture(110ms, JitterClock::Kind::key), 110ms) << "the first one at once";
    for (int i = 0; i < 49; ++i) {
        stream.promised_picture(10ms);
    }
    // One of 100 ms was seen: the largest is twice as long by all that is known. Two seconds at a twentieth
    // lead there.
    EXPECT_NEAR(static_cast<double>(stream.promised_picture(10ms).count()), 208, 3);
}

TEST(JitterClock, ExpectsNoMoreThanIsPromised) {
    PromisingStream stream{130ms};
    EXPECT_EQ(stream.group(110ms, 10ms), 130ms);
    EXPECT_EQ(stream.group(110ms, 10ms), 130ms);
}

TEST(JitterClock, ExpectsLessTheMoreItHasSeen) {
    PromisingStream stream{500ms};
    auto due = stream.group(110ms, 10ms);
    for (int group = 1; group < 29; ++group) {
        const auto next = stream.group(110ms, 10ms);
        EXPECT_LE(next, due + 12ms) << "while it glides";
        due = next;
    }
    EXPECT_LE(due, 110ms + 30ms);
}

TEST(JitterClock, WithoutDelayAtTheSenderThereIsNoneHere) {
    PromisingStream stream{15ms};
    for (int group = 0; group < 10; ++group) {
        EXPECT_LE(stream.group(14ms, 10ms), 15ms);
    }
}

TEST(JitterClock, AKeyPictureThatWasHeldUpOnceIsForgotten) {
    PromisingStream stream{50ms};
    stream.group(30ms, 10ms);
    stream.group(400ms, 10ms);
    stream.group(30ms, 10ms);
    stream.group(30ms, 10ms);
    EXPECT_LE(stream.group(30ms, 10ms), 50ms);
}

TEST(JitterClock, AfterARestartNothingIsLeft) {
    Stream stream{0ms};
    stream.pictures(10, 300ms);
    stream.clock.restart();
    EXPECT_EQ(stream.picture(5ms), 5ms);
}

} // namespace
} // namespace velmora
