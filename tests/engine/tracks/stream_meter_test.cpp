#include "tracks/stream_meter.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr std::uint64_t unit_bytes = 5000;

class StreamMeterTest : public testing::Test {
protected:
    void pass(int units, Ticks distance) {
        for (int unit = 0; unit < units; ++unit) {
            at_ += distance;
            offset_ += unit_bytes;
            meter_.add(at_, offset_);
        }
    }

    StreamMeter meter_;
    Position at_{};
    std::uint64_t offset_{0};
};

TEST_F(StreamMeterTest, TellsNothingOfLessThanHalfASecond) {
    pass(12, 40ms);
    EXPECT_EQ(meter_.units_per_second(), 0);
    EXPECT_EQ(meter_.kilobits_per_second(), 0);
}

TEST_F(StreamMeterTest, TellsTheRatesOfTheLastSecond) {
    pass(100, 40ms);
    pass(60, 20ms);
    EXPECT_EQ(meter_.units_per_second(), 50);
    EXPECT_EQ(meter_.kilobits_per_second(), 2000);
}

TEST_F(StreamMeterTest, WhatWasMeasuredHoldsAcrossAJumpUntilMoreWasSeen) {
    pass(50, 40ms);
    meter_.restart();
    at_ += 60s;
    offset_ *= 30;
    pass(12, 20ms);
    EXPECT_EQ(meter_.units_per_second(), 25);
    EXPECT_EQ(meter_.kilobits_per_second(), 1000);
    pass(40, 20ms);
    EXPECT_EQ(meter_.units_per_second(), 50);
    EXPECT_EQ(meter_.kilobits_per_second(), 2000);
}

} // namespace
} // namespace velmora
