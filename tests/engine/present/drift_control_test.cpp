#include "present/drift_control.h"

#include <gtest/gtest.h>

#include <cmath>

namespace velmora {
namespace {

constexpr Seconds step{0.1};

/// Offset after `duration` when the device plays `rate_error` too fast.
Seconds offset_after(Seconds duration, double rate_error, Seconds offset) {
    DriftControl control;
    for (Seconds time{0}; time < duration; time += step) {
        const double stretch = control.update(offset, step);
        offset += step * (rate_error - stretch);
    }
    return offset;
}

TEST(DriftControl, SlowsDownSoundThatIsEarlyAndHurriesSoundThatIsLate) {
    EXPECT_GT(DriftControl{}.update(Seconds{0.02}, step), 0.0);
    EXPECT_LT(DriftControl{}.update(Seconds{-0.02}, step), 0.0);
}

TEST(DriftControl, NeverStretchesFurtherThanItsLimit) {
    DriftControl control;
    for (int i = 0; i < 1000; ++i) {
        EXPECT_LE(control.update(Seconds{0.09}, step), DriftControl::largest_stretch);
    }
    for (int i = 0; i < 1000; ++i) {
        EXPECT_GE(control.update(Seconds{-0.09}, step), -DriftControl::largest_stretch);
    }
}

TEST(DriftControl, BringsTheOffsetToNothingForADeviceThatIsOnePercentWrong) {
    for (const double error : {-0.01, 0.0, 0.01}) {
        for (const double start : {-0.08, 0.0, 0.08}) {
            EXPECT_LT(std::abs(offset_after(Seconds{30}, error, Seconds{start}).count()), 0.001)
                << error << ' ' << start;
            EXPECT_LT(std::abs(offset_after(Seconds{600}, error, Seconds{start}).count()), 0.0001)
                << error << ' ' << start;
        }
        EXPECT_LT(std::abs(offset_after(Seconds{3}, error, Seconds{0}).count()), 0.020) << error;
    }
}

} // namespace
} // namespace velmora
