#include "receive/remux_clock.h"

#include <gtest/gtest.h>

#include <vector>

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr int video = 0;
constexpr int audio = 1;

class RemuxClockTest : public testing::Test {
protected:
    SteadyTime now{100s};
    RemuxClock clock{now};
};

TEST_F(RemuxClockTest, BeginsWithTheMachinesClockAndKeepsTheSourcesTimes) {
    now += 2s;
    const Ticks begin = RemuxClock::lead + Ticks{2s};
    EXPECT_EQ(clock.map(video, Ticks{5s}, now), begin);
    EXPECT_EQ(clock.map(video, Ticks{5s + 40ms}, now + 45ms), begin + Ticks{40ms});
    EXPECT_EQ(clock.map(video, Ticks{5s + 80ms}, now + 75ms), begin + Ticks{80ms});
}

TEST_F(RemuxClockTest, StreamsShareATimeThatFits) {
    const Ticks begin = clock.map(video, Ticks{5s}, now);
    EXPECT_EQ(clock.map(audio, Ticks{4s + 900ms}, now + 30ms), begin - Ticks{100ms});
    RemuxClock apart{now};
    EXPECT_EQ(apart.map(video, Ticks{5s}, now), begin);
    EXPECT_EQ(apart.map(audio, Ticks{500s}, now + 30ms), begin + Ticks{30ms});
}

TEST_F(RemuxClockTest, StreamsThatJumpTogetherStayTogether) {
    clock.map(video, Ticks{1000s}, now);
    clock.map(audio, Ticks{1000s}, now);
    now += 1s;
    const Ticks jumped = clock.map(video, Ticks{3s}, now);
    EXPECT_EQ(jumped, RemuxClock::lead + Ticks{1s});
    EXPECT_EQ(clock.map(audio, Ticks{3s + 10ms}, now + 300ms), jumped + Ticks{10ms});
}

TEST_F(RemuxClockTest, StreamsComeTogetherWhenTheyLearnTheirTime) {
    const Ticks begin = clock.map(video, Ticks{100s}, now);
    EXPECT_EQ(clock.map(audio, Ticks{0s}, now + 50ms), begin + Ticks{50ms}) << "it has not learnt it yet";
    EXPECT_EQ(clock.map(audio, Ticks{100s + 900ms}, now + 1s), begin + Ticks{900ms});
}

TEST_F(RemuxClockTest, WhatWasHeldUpIsNoJump) {
    const Ticks begin = clock.map(video, Ticks{5s}, now);
    now += 4s;
    EXPECT_EQ(clock.map(video, Ticks{5s + 40ms}, now), begin + Ticks{40ms});
    EXPECT_EQ(clock.map(video, Ticks{5s + 80ms}, now), begin + Ticks{80ms});
    EXPECT_EQ(clock.map(video, Ticks{15s}, now + 10s), begin + Ticks{10s}) << "others were lost";
}

TEST_F(RemuxClockTest, ASlowSourceIsNoJump) {
    const Ticks begin = clock.map(video, Ticks{0}, now);
    // 0.1 % slow: 5 s are reached after an hour and a half.
    for (int minute = 1; minute <= 120; ++minute) {
        EXPECT_EQ(clock.map(video, Ticks{60s} * minute, now + 60060ms * minute), begin + Ticks{60s} * minute);
    }
}

TEST(DecodingTimes, ComeBeforePresentationAndInOrder) {
    const std::vector<int> pictures{0, 4, 2, 1, 3, 8, 6, 5, 7, 12, 10, 9, 11};
    DecodingTimes times;
    Ticks last = Ticks::min();
    for (const int picture : pictures) {
        const Ticks presentation{900000 + 3600 * picture};
        const Ticks decoding = times.next(presentation);
        EXPECT_LE(decoding, presentation);
        EXPECT_GT(decoding, last);
        last = decoding;
    }
    EXPECT_EQ(last, Ticks{900000 + 3600 * 8});
}

} // namespace
} // namespace velmora
