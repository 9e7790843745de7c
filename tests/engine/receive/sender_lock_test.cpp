#include "receive/sender_lock.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using enum SenderLock::Verdict;

constexpr Sender first{.address = 0x0A000001, .port = 5};
constexpr Sender second{.address = 0x0A000001, .port = 6};

class OneSender : public testing::Test {
protected:
    /// The first sender's, for three seconds: at equal distances, so many at a time.
    void send_evenly(std::chrono::milliseconds distance, int at_a_time) {
        for (const SteadyTime end = now_ + 3s; now_ < end; now_ += distance) {
            for (int i = 0; i < at_a_time; ++i) {
                ASSERT_NE(lock_.check(first, now_), stranger);
            }
        }
        now_ -= distance; // of the last one
    }

    SteadyTime now_{10s};
    SenderLock lock_;
};

TEST_F(OneSender, IsKeptToWhileItSends) {
    EXPECT_EQ(lock_.check(first, now_), took_over);
    for (int i = 0; i < 200; ++i) {
        now_ += 20ms;
        EXPECT_EQ(lock_.check(second, now_), stranger);
        now_ += 20ms;
        EXPECT_EQ(lock_.check(first, now_), current);
    }
}

TEST_F(OneSender, IsFollowedAfterTenOfItsDistances) {
    send_evenly(5ms, 1);
    EXPECT_EQ(lock_.check(second, now_ + 50ms), stranger);
    EXPECT_EQ(lock_.check(second, now_ + 51ms), took_over);
    EXPECT_EQ(lock_.check(first, now_ + 52ms), stranger);
}

TEST_F(OneSender, ThatSendsAPictureAtATimeMayPauseAfterIt) {
    send_evenly(20ms, 30);
    EXPECT_EQ(lock_.check(second, now_ + 200ms), stranger);
    EXPECT_EQ(lock_.check(second, now_ + 201ms), took_over);
}

TEST_F(OneSender, IsFollowedAfterTheLongestSilenceAtMost) {
    send_evenly(100ms, 1);
    EXPECT_EQ(lock_.check(second, now_ + 300ms), stranger);
    EXPECT_EQ(lock_.check(second, now_ + 301ms), took_over);
}

TEST_F(OneSender, WhoseDistancesAreNotKnownYetIsKeptToForTheLongestSilence) {
    EXPECT_EQ(lock_.check(first, now_), took_over);
    EXPECT_EQ(lock_.check(first, now_ + 1ms), current);
    EXPECT_EQ(lock_.check(second, now_ + 301ms), stranger);
    EXPECT_EQ(lock_.check(second, now_ + 302ms), took_over);
}

} // namespace
} // namespace velmora
