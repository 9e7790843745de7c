#include "live/late_decoding.h"

#include <gtest/gtest.h>

#include <chrono>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;

class LateDecodingTest : public testing::Test {
protected:
    /// Decoding is late by `behind` now, and 40 milliseconds pass.
    bool leaves_out_at(milliseconds behind) {
        late_.observe(behind, now_);
        now_ += 40ms;
        return late_.leaves_out();
    }

    LateDecoding late_;
    SteadyTime now_{};
};

TEST_F(LateDecodingTest, NothingIsLeftOutWhileItIsOnTime) {
    for (int i = 0; i < 100; ++i) {
        EXPECT_FALSE(leaves_out_at(390ms));
    }
}

TEST_F(LateDecodingTest, NothingIsLeftOutForLatenessThatPasses) {
    for (auto behind = 680ms; behind > 300ms; behind -= 5ms) {
        EXPECT_FALSE(leaves_out_at(behind)) << behind.count();
    }
}

TEST_F(LateDecodingTest, LatenessThatStaysIsWorkedOffUntilItIsGone) {
    int pictures = 0;
    while (!leaves_out_at(450ms)) {
        ASSERT_LT(++pictures, 30);
    }
    EXPECT_GE(pictures, 24) << "it had the time to pass";
    EXPECT_TRUE(leaves_out_at(300ms));
    EXPECT_FALSE(leaves_out_at(240ms));
    EXPECT_FALSE(leaves_out_at(390ms));
}

TEST_F(LateDecodingTest, GreatLatenessIsNotWaitedFor) {
    EXPECT_TRUE(leaves_out_at(710ms));
    EXPECT_FALSE(late_.is_lost());
    EXPECT_TRUE(leaves_out_at(1s));
    EXPECT_TRUE(late_.is_lost());
    EXPECT_FALSE(leaves_out_at(200ms));
    EXPECT_FALSE(late_.is_lost());
}

TEST_F(LateDecodingTest, AfterAResetNothingIsLeft) {
    leaves_out_at(1s);
    late_.reset();
    EXPECT_FALSE(late_.leaves_out());
    EXPECT_FALSE(late_.is_lost());
}

} // namespace
} // namespace velmora
