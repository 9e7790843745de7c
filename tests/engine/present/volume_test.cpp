#include "present/volume.h"

#include "present/sound_format.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace velmora {
namespace {

class Volume : public testing::Test {
protected:
    void TearDown() override { set_volume(100); }
};

TEST_F(Volume, RisesWithTheCubeOfTheLevel) {
    set_volume(100);
    EXPECT_FLOAT_EQ(volume_gain(), 1.0F);
    set_volume(50);
    EXPECT_FLOAT_EQ(volume_gain(), 0.125F);
    set_volume(0);
    EXPECT_FLOAT_EQ(volume_gain(), 0.0F);
}

TEST_F(Volume, TakesTheNearestLevelForOneOutside) {
    set_volume(1000);
    EXPECT_FLOAT_EQ(volume_gain(), 1.0F);
    set_volume(-1);
    EXPECT_FLOAT_EQ(volume_gain(), 0.0F);
}

TEST(GainRamp, ReachesItsTargetWithin20MillisecondsInSmallSteps) {
    GainRamp ramp;
    std::vector<float> samples(output_rate / 50 * output_channels, 1.0F);
    ramp.apply(samples, 1.0F);
    EXPECT_NEAR(samples.back(), 1.0F, 1e-4F);
    float before = 0.0F;
    for (std::size_t i = 0; i < samples.size(); i += output_channels) {
        ASSERT_LT(std::abs(samples[i] - before), 0.002F);
        ASSERT_EQ(samples[i], samples[i + 1]) << "both channels alike";
        before = samples[i];
    }
    samples.assign(samples.size() + output_channels, 1.0F);
    ramp.apply(samples, 0.0F);
    EXPECT_TRUE(ramp.silent());
}

} // namespace
} // namespace velmora
