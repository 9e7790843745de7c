#include "receive/rtp_reorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>

namespace velmora {
namespace {

using namespace std::chrono_literals;

/// Feeds packets whose payload is the number it is given, and collects those numbers.
class RtpReorderTest : public testing::Test {
protected:
    void feed(int number, std::uint32_t ssrc = 1) {
        const std::array payload{static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number)};
        reorder.feed({.sequence = static_cast<std::uint16_t>(number), .ssrc = ssrc, .payload = payload}, now);
    }
    void feed_run(int first, int count) {
        for (int i = 0; i < count; ++i) {
            feed(first + i);
        }
    }
    static std::vector<int> run(int first, int count) {
        std::vector<int> numbers(static_cast<std::size_t>(count));
        std::iota(numbers.begin(), numbers.end(), first);
        return numbers;
    }

    std::vector<int> received;
    SteadyTime now{1000s};
    RtpReorder reorder{[this](std::span<const std::uint8_t> payload) {
        received.push_back((payload[0] << 8) | payload[1]);
    }};
};

TEST_F(RtpReorderTest, HandsOnWhatIsInOrderAtOnce) {
    feed(7);
    EXPECT_EQ(received, run(7, 1));
    feed(8);
    EXPECT_EQ(received, run(7, 2));
    EXPECT_FALSE(reorder.deadline());
}

TEST_F(RtpReorderTest, RepairsOrderUpToADepthOfTwenty) {
    std::mt19937 random{1};
    for (int depth = 1; depth <= 20; ++depth) {
        received.clear();
        RtpReorder fresh{[this](std::span<const std::uint8_t> payload) { received.push_back(payload[0]); }};
        std::vector<int> numbers = run(1, 200);
        for (auto block = numbers.begin(); numbers.end() - block > depth; block += depth + 1) {
            std::shuffle(block, block + depth + 1, random);
        }
        numbers.insert(numbers.begin(), 0);
        for (const int number : numbers) {
            const std::array payload{static_cast<std::uint8_t>(number)};
            fresh.feed({.sequence = static_cast<std::uint16_t>(number), .ssrc = 1, .payload = payload}, now);
        }
        EXPECT_EQ(received, run(0, 201)) << "depth " << depth;
        EXPECT_EQ(fresh.lost(), 0U);
    }
}

TEST_F(RtpReorderTest, CountsLossExactlyAcrossTheWrap) {
    feed(65530);
    feed(65531);
    // 65532, 65535 and 1 are missing.
    for (const int number : {65533, 65534, 0, 2}) {
        feed(number);
    }
    EXPECT_EQ(reorder.lost(), 0U) << "they may still come";
    now += RtpReorder::patience;
    reorder.expire(now);
    EXPECT_EQ(received, (std::vector{65530, 65531, 65533, 65534, 0, 2}));
    EXPECT_EQ(reorder.lost(), 3U);
}

TEST_F(RtpReorderTest, WaitsNoLongerThanItsPatience) {
    feed(1);
    feed(3);
    ASSERT_TRUE(reorder.deadline());
    EXPECT_EQ(*reorder.deadline(), now + RtpReorder::patience);
    now += RtpReorder::patience - 1ms;
    reorder.expire(now);
    EXPECT_EQ(received, run(1, 1));
    now += 1ms;
    reorder.expire(now);
    EXPECT_EQ(received, (std::vector{1, 3}));
    feed(2);
    EXPECT_EQ(received, (std::vector{1, 3})) << "too late";
    EXPECT_EQ(reorder.lost(), 1U);
}

TEST_F(RtpReorderTest, WaitsForNoMorePacketsThanItsWindow) {
    feed(0);
    feed_run(2, RtpReorder::window - 1);
    EXPECT_EQ(received, run(0, 1));
    feed(RtpReorder::window + 1);
    EXPECT_EQ(received.size(), 1U + RtpReorder::window);
    EXPECT_EQ(reorder.lost(), 1U);
}

TEST_F(RtpReorderTest, GoesOnAtOnceBehindALongBurstOfLoss) {
    feed_run(0, 10);
    feed_run(60, 40);
    EXPECT_EQ(received.size(), 50U);
    EXPECT_EQ(reorder.lost(), 50U);
}

TEST_F(RtpReorderTest, DropsDuplicates) {
    feed(1);
    feed(1);
    feed(3);
    feed(3);
    feed(2);
    feed(2);
    EXPECT_EQ(received, run(1, 3));
    EXPECT_EQ(reorder.lost(), 0U);
}

TEST_F(RtpReorderTest, ANewSourceIsNoLoss) {
    feed_run(100, 3);
    feed(5000, 2);
    feed(5001, 2);
    EXPECT_EQ(received, (std::vector{100, 101, 102, 5000, 5001}));
    EXPECT_EQ(reorder.lost(), 0U);
}

TEST_F(RtpReorderTest, ASequenceThatGoesOnElsewhereIsNoLoss) {
    feed_run(100, 3);
    feed(40000);
    EXPECT_EQ(received, run(100, 3)) << "a stray packet, perhaps";
    feed(40001);
    feed(40002);
    EXPECT_EQ(received, (std::vector{100, 101, 102, 40000, 40001, 40002}));
    feed(7);
    feed(40003);
    EXPECT_EQ(received.back(), 40003) << "a stray packet indeed";
    EXPECT_EQ(reorder.lost(), 0U);
}

TEST_F(RtpReorderTest, BehindASilenceASequenceMayBeginAgain) {
    feed_run(0, 50);
    now += RtpReorder::silence + 1ms;
    feed_run(0, 3);
    EXPECT_EQ(received.size(), 53U);
    EXPECT_EQ(reorder.lost(), 0U);
}

} // namespace
} // namespace velmora
