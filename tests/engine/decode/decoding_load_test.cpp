#include "decode/decoding_load.h"

#include <gtest/gtest.h>

#include <thread>

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr Ticks interval = 40ms;
constexpr int group = 50;
constexpr std::size_t unit_size = 100'000;

/// A stream of groups that begin anew every two seconds.
class Stream {
public:
    /// @return threads for the group behind
    int groups(int count, std::optional<DecodingLoad::Cost> cost, std::size_t bytes = unit_size) {
        int threads = load.threads_from(next_);
        for (int i = 0; i < count; ++i) {
            for (int picture = 0; picture < group; ++picture) {
                load.add(bytes, cost);
            }
            next_ += group * interval;
            threads = load.threads_from(next_);
        }
        return threads;
    }

    DecodingLoad load;

private:
    Position next_{};
};

class DecodingLoadTest : public testing::Test {
protected:
    void SetUp() override {
        if (std::thread::hardware_concurrency() < 2) {
            GTEST_SKIP() << "one processor";
        }
    }

    Stream stream_;
};

TEST_F(DecodingLoadTest, OneThreadDecodesALightStream) {
    EXPECT_EQ(stream_.groups(10, 18ms), 1);
}

TEST_F(DecodingLoadTest, AHeavyStreamTakesMoreFromTheNextGroupOn) {
    EXPECT_EQ(stream_.groups(1, 32ms), 2);
}

TEST_F(DecodingLoadTest, MoreThreadsStayWhileTheStreamIsAsHeavy) {
    stream_.groups(1, 32ms);
    EXPECT_EQ(stream_.groups(10, std::nullopt), 2);
    EXPECT_EQ(stream_.groups(1, std::nullopt, unit_size * 3 / 4), 2) << "and while it is a little lighter";
}

TEST_F(DecodingLoadTest, OneThreadIsEnoughAgainForALightStream) {
    stream_.groups(1, 32ms);
    EXPECT_EQ(stream_.groups(1, std::nullopt, unit_size / 3), 1);
    EXPECT_EQ(stream_.groups(10, 9ms, unit_size / 3), 1);
}

TEST_F(DecodingLoadTest, AFirstPictureThatTakesLongTellsOfAHeavyStream) {
    stream_.load.begin_with(4 * unit_size, 120ms);
    EXPECT_EQ(stream_.groups(0, std::nullopt), 2);
    EXPECT_EQ(stream_.groups(10, std::nullopt), 2);
}

TEST_F(DecodingLoadTest, AFirstPictureLikeAnyOtherTellsNothing) {
    stream_.load.begin_with(4 * unit_size, 100ms);
    EXPECT_EQ(stream_.groups(0, std::nullopt), 1);
}

TEST_F(DecodingLoadTest, LessThanASecondIsNotJudged) {
    DecodingLoad load;
    for (int picture = 0; picture < 25; ++picture) {
        EXPECT_EQ(load.threads_from(Position{picture * interval}), 1) << "key pictures alone";
        load.add(unit_size, 39ms);
    }
}

TEST_F(DecodingLoadTest, AJumpBackIsNotMeasured) {
    stream_.groups(1, 18ms);
    stream_.load.add(unit_size, 10s);
    EXPECT_EQ(stream_.load.threads_from(Position{}), 1);
    EXPECT_EQ(stream_.groups(1, 18ms), 1);
}

} // namespace
} // namespace velmora
