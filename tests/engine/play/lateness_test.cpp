#include "play/lateness.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;

/// Twenty-five pictures a second.
class LatenessTest : public testing::Test {
protected:
    /// @param change of the lag with each picture
    void play(int pictures, Lateness::Lag behind, Lateness::Lag change = 0ms) {
        for (int picture = 0; picture < pictures; ++picture) {
            now_ += 40ms;
            lateness_.observe(behind, now_);
            behind += change;
        }
    }

    Lateness lateness_;
    SteadyTime now_{};
};

TEST_F(LatenessTest, LeavesNothingOutOnTime) {
    play(100, 90ms);
    EXPECT_FALSE(lateness_.is_late());
    EXPECT_EQ(lateness_.skip(), AVDISCARD_DEFAULT);
}

TEST_F(LatenessTest, LeavesOutOnlyWhatNoOtherPictureNeedsWhileThatCatchesUp) {
    play(35, 500ms, -10ms);
    EXPECT_TRUE(lateness_.is_late());
    EXPECT_EQ(lateness_.skip(), AVDISCARD_NONREF);
}

TEST_F(LatenessTest, AMomentOfStandstillLeavesNothingOut) {
    play(4, 400ms);
    play(1, 50ms);
    play(4, 400ms);
    EXPECT_FALSE(lateness_.is_late());
}

TEST_F(LatenessTest, ALongerOneDoesNotLeaveOutReferences) {
    play(10, 400ms);
    EXPECT_EQ(lateness_.skip(), AVDISCARD_NONREF);
}

TEST_F(LatenessTest, LeavesOutMoreAndMoreWhileItFallsBehind) {
    play(21, 150ms, 4ms);
    EXPECT_EQ(lateness_.skip(), AVDISCARD_BIDIR);
    play(100, 250ms, 4ms);
    EXPECT_EQ(lateness_.skip(), AVDISCARD_NONKEY);
}

TEST_F(LatenessTest, LeavesNothingOutAsSoonAsItHasCaughtUp) {
    play(10, 400ms);
    play(1, 0ms);
    EXPECT_FALSE(lateness_.is_late());
}

TEST_F(LatenessTest, LeavesOutReferencesUntilASecondOnTime) {
    play(21, 150ms, 4ms);
    play(20, 0ms);
    EXPECT_EQ(lateness_.skip(), AVDISCARD_BIDIR);
    play(10, 0ms);
    EXPECT_EQ(lateness_.skip(), AVDISCARD_DEFAULT);
}

TEST_F(LatenessTest, ResetBeginsAnew) {
    play(100, 300ms);
    lateness_.reset();
    EXPECT_FALSE(lateness_.is_late());
}

} // namespace
} // namespace velmora
