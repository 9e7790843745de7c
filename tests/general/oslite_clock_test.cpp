#include "general/oslite.h"

#include "general/system_calls.h"

#include <cerrno>
#include <chrono>
#include <gtest/gtest.h>
#include <vector>

namespace {

class OsClock : public testing::Test {
protected:
    void TearDown() override { system_calls = {}; }

    void record_sleeps(int result) {
        system_calls.sleep = [this, result](const timespec& duration) {
            m_sleeps.push_back(duration);
            errno = EINTR;
            return result;
        };
    }

    std::vector<timespec> m_sleeps;
};

TEST_F(OsClock, SleepsMillisecondsAsSecondsAndNanoseconds) {
    record_sleeps(0);
    OS_MSleep(1500);
    ASSERT_EQ(m_sleeps.size(), 1U);
    EXPECT_EQ(m_sleeps[0].tv_sec, 1);
    EXPECT_EQ(m_sleeps[0].tv_nsec, 500'000'000);
}

TEST_F(OsClock, SleepsMicrosecondsAsSecondsAndNanoseconds) {
    record_sleeps(0);
    OS_MicroSleep(2'500'000);
    ASSERT_EQ(m_sleeps.size(), 1U);
    EXPECT_EQ(m_sleeps[0].tv_sec, 2);
    EXPECT_EQ(m_sleeps[0].tv_nsec, 500'000'000);
}

TEST_F(OsClock, DoesNotResumeAnInterruptedSleep) {
    record_sleeps(-1);
    OS_MSleep(20);
    OS_MicroSleep(20'000);
    EXPECT_EQ(m_sleeps.size(), 2U);
}

TEST_F(OsClock, ReallySleeps) {
    const auto start = std::chrono::steady_clock::now();
    OS_MSleep(20);
    OS_MicroSleep(20'000);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(40));
}

TEST_F(OsClock, WrapsTheMillisecondClockButNotTheMicrosecondClock) {
    system_calls.time_of_day = timeval{.tv_sec = 4'294'967, .tv_usec = 295'999};
    EXPECT_EQ(OS_GetKHClock(), 0xFFFFFFFFU);
    EXPECT_EQ(OS_GetMHClock(), 4'294'967'295'999U);
    system_calls.time_of_day = timeval{.tv_sec = 4'294'967, .tv_usec = 296'000};
    EXPECT_EQ(OS_GetKHClock(), 0U);
    EXPECT_EQ(OS_GetMHClock(), 4'294'967'296'000U);
}

TEST_F(OsClock, TellsTheTimeOfDay) {
    using namespace std::chrono;
    const auto microseconds_now = [] {
        return static_cast<std::uint64_t>(
            duration_cast<microseconds>(system_clock::now().time_since_epoch()).count());
    };
    const std::uint64_t before = microseconds_now();
    const std::uint64_t clock = OS_GetMHClock();
    EXPECT_LE(before, clock);
    EXPECT_LE(clock, microseconds_now());
}

} // namespace
