#include "diagnostics/slow_decoding_report.h"

#include "support/test_time.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;

class SlowDecoding : public testing::Test {
protected:
    /// @return whether it is said then
    bool after(std::chrono::milliseconds time, bool drops) {
        now_ += time;
        report_.note(drops, now_);
        const auto message = board_.newest();
        return message && message->lasts;
    }

    SteadyTime now_{10s};
    MessageBoard board_{real_time()};
    SlowDecodingReport report_{board_, "test"};
};

TEST_F(SlowDecoding, IsSaidOnceItLastsForASecond) {
    EXPECT_FALSE(after(0ms, true));
    EXPECT_FALSE(after(999ms, true));
    EXPECT_TRUE(after(1ms, true));
}

TEST_F(SlowDecoding, ForAMomentIsNotWorthAWord) {
    for (int i = 0; i < 10; ++i) {
        EXPECT_FALSE(after(0ms, true));
        EXPECT_FALSE(after(500ms, true));
        EXPECT_FALSE(after(2s, false));
    }
}

TEST_F(SlowDecoding, IsOverAfterTwoSecondsWithoutADrop) {
    after(0ms, true);
    EXPECT_TRUE(after(1s, true));
    EXPECT_TRUE(after(1999ms, false));
    EXPECT_FALSE(after(1ms, false));
    EXPECT_FALSE(after(0ms, true)) << "it begins anew";
}

TEST_F(SlowDecoding, IsWithdrawnWithWhatWasDecoded) {
    after(0ms, true);
    EXPECT_TRUE(after(1s, true));
    report_.withdraw();
    EXPECT_FALSE(board_.newest()->lasts);
}

} // namespace
} // namespace velmora
