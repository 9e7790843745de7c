#include "receive/sender_lock.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using enum SenderLock::Verdict;

TEST(SenderLock, KeepsToTheFirstSenderUntilItFallsSilent) {
    const Sender first{.address = 0x0A000001, .port = 5};
    const Sender second{.address = 0x0A000001, .port = 6};
    SenderLock lock;
    SteadyTime now{10s};
    EXPECT_EQ(lock.check(first, now), took_over);
    for (int i = 0; i < 5; ++i) {
        now += 500ms;
        EXPECT_EQ(lock.check(second, now), stranger);
        now += 500ms;
        EXPECT_EQ(lock.check(first, now), current);
    }
    now += 1s;
    EXPECT_EQ(lock.check(second, now), stranger);
    now += 1ms;
    EXPECT_EQ(lock.check(second, now), took_over);
    EXPECT_EQ(lock.check(first, now), stranger);
}

} // namespace
} // namespace velmora
