#include "decode/decoding_effort.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr auto tolerance = 1e-9;

class DecodingEffortTest : public testing::Test {
protected:
    void decode(int pictures, DecodingEffort::Seconds cost) {
        for (int picture = 0; picture < pictures; ++picture) {
            effort_.add(cost);
        }
    }

    DecodingEffort effort_;
};

TEST_F(DecodingEffortTest, IsNotKnownBeforeEnoughWasDecoded) {
    decode(4, 2ms);
    EXPECT_EQ(effort_.per_picture(5), 0s);
    decode(1, 2ms);
    EXPECT_GT(effort_.per_picture(5), 0s);
}

TEST_F(DecodingEffortTest, IsTheAverage) {
    decode(10, 2ms);
    decode(10, 4ms);
    EXPECT_NEAR(effort_.per_picture(1).count(), 0.003, tolerance);
}

TEST_F(DecodingEffortTest, FollowsAStreamThatChanges) {
    decode(1000, 2ms);
    decode(1000, 8ms);
    EXPECT_NEAR(effort_.per_picture(1).count(), 0.008, 1e-4);
}

TEST_F(DecodingEffortTest, AKeyPictureCountsInFull) {
    decode(49, 2ms);
    decode(1, 8ms);
    EXPECT_NEAR(effort_.per_picture(1).count(), (49 * 0.002 + 0.008) / 50, tolerance);
}

TEST_F(DecodingEffortTest, AMachineThatStoodStillDoesNotMakeItHeavy) {
    decode(1, 2ms);
    decode(1, 500ms);
    decode(3, 2ms);
    EXPECT_LE(effort_.per_picture(5).count(), 0.004 + tolerance);
    decode(45, 2ms);
    EXPECT_LT(effort_.per_picture(5).count(), 0.0025);
}

} // namespace
} // namespace velmora
