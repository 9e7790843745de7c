#include "general/oslite.h"

#include "general/system_calls.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <gtest/gtest.h>
#include <optional>
#include <thread>

namespace {

LinuxSemaphore_t& object(OS_Semaphore_t handle) {
    return *reinterpret_cast<LinuxSemaphore_t*>(handle);
}

bool is_held(OS_Semaphore_t semaphore) {
    // A try from another thread, since the holder itself may not ask.
    bool held = false;
    std::jthread([&] {
        held = pthread_mutex_trylock(&object(semaphore).Mutex) == EBUSY;
        if (!held) {
            pthread_mutex_unlock(&object(semaphore).Mutex);
        }
    }).join();
    return held;
}

class OsLock : public testing::Test {
protected:
    void TearDown() override {
        system_calls = {};
        OS_DeleteSignal(m_signal);
        OS_DeleteSemaphore(m_lock);
    }

    OS_Semaphore_t m_lock = OS_AllocSemaphore();
    OS_Semaphore_t m_signal = OS_AllocSignal();
};

TEST_F(OsLock, IsHeldFromWaitToSet) {
    EXPECT_FALSE(is_held(m_lock));
    EXPECT_EQ(OS_WaitSemaphore(m_lock), 0);
    EXPECT_TRUE(is_held(m_lock));
    EXPECT_EQ(OS_SetSemaphore(m_lock), 0);
    EXPECT_FALSE(is_held(m_lock));
}

TEST_F(OsLock, DeletesWithResultZero) {
    EXPECT_EQ(OS_DeleteSemaphore(OS_AllocSemaphore()), 0);
    EXPECT_EQ(OS_DeleteSignal(OS_AllocSignal()), 0);
}

TEST_F(OsLock, AFiniteWaitTimesOutAtOnceHoldingTheLock) {
    OS_WaitSemaphore(m_lock);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(OS_WaitSignal(m_signal, m_lock, 1000), -1);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(900));
    EXPECT_TRUE(is_held(m_lock));
    OS_SetSemaphore(m_lock);
}

TEST_F(OsLock, BuildsTheDeadlineFromTheWrappingMillisecondClock) {
    std::optional<timespec> deadline;
    system_calls.timed_wait = [&](const timespec& value) { deadline = value; };
    system_calls.time_of_day = timeval{.tv_sec = 4'294'967, .tv_usec = 296'000}; // the clock reads 0
    OS_WaitSemaphore(m_lock);
    EXPECT_EQ(OS_WaitSignal(m_signal, m_lock, 7250), -1);
    OS_SetSemaphore(m_lock);
    ASSERT_TRUE(deadline.has_value());
    EXPECT_EQ(deadline->tv_sec, 7);
    EXPECT_EQ(deadline->tv_nsec, 250'000);
}

TEST_F(OsLock, AnUnlimitedWaitLastsUntilTheSignalAndHoldsTheLockAfterIt) {
    std::atomic<bool> returned = false;
    OS_WaitSemaphore(m_lock);
    std::atomic<bool> waiting = false;
    std::optional<int> result;
    bool held = false;
    std::jthread waiter([&] {
        OS_WaitSemaphore(m_lock);
        waiting = true;
        result = OS_WaitSignal(m_signal, m_lock, OS_WAIT_FOREVER);
        held = is_held(m_lock);
        returned = true;
        OS_SetSemaphore(m_lock);
    });
    OS_SetSemaphore(m_lock);
    while (!waiting) {
        std::this_thread::yield();
    }
    OS_WaitSemaphore(m_lock); // free again only because the waiter waits
    EXPECT_FALSE(returned);
    EXPECT_EQ(OS_SetSignal(m_signal), 0);
    OS_SetSemaphore(m_lock);
    waiter.join();
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(held);
}

TEST_F(OsLock, CountsSignalsWithoutAnyWaiter) {
    OS_SetSignal(m_signal);
    OS_SetSignal(m_signal);
    EXPECT_EQ(object(m_signal).SemCount, 2);
    OS_WaitSemaphore(m_lock);
    EXPECT_EQ(OS_WaitSignal(m_signal, m_lock, 1000), -1) << "a wake without a waiter is lost";
    OS_SetSemaphore(m_lock);
    EXPECT_EQ(object(m_signal).SemCount, 2);
}

class OsLockDeath : public testing::Test {
protected:
    OsLockDeath() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
    void TearDown() override { system_calls = {}; }

    /** A semaphore whose lock reports misuse, which the default kind does not. */
    static OS_Semaphore_t checking_semaphore() {
        const OS_Semaphore_t semaphore = OS_AllocSemaphore();
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
        pthread_mutex_init(&object(semaphore).Mutex, &attributes);
        return semaphore;
    }
};

TEST_F(OsLockDeath, ReportsALockThatCannotBeMade) {
    EXPECT_DEATH(
        {
            system_calls.mutex_init = ENOMEM;
            OS_AllocSemaphore();
        },
        "oslite.*OS_AllocSemaphore.*Assertion `rc==0' failed\\.");
}

TEST_F(OsLockDeath, ReportsALockThatCannotBeTaken) {
    EXPECT_DEATH(
        {
            const OS_Semaphore_t semaphore = checking_semaphore();
            OS_WaitSemaphore(semaphore);
            OS_WaitSemaphore(semaphore);
        },
        "oslite.*OS_WaitSemaphore.*Assertion `rc ==0' failed\\.");
}

TEST_F(OsLockDeath, ReportsALockThatCannotBeGivenBack) {
    EXPECT_DEATH(OS_SetSemaphore(checking_semaphore()),
                 "oslite.*OS_SetSemaphore.*Assertion `rc==0' failed\\.");
}

TEST_F(OsLockDeath, ReportsASignalThatCannotBeMade) {
    EXPECT_DEATH(
        {
            system_calls.cond_init = EAGAIN;
            OS_AllocSignal();
        },
        "oslite.*OS_AllocSignal.*Assertion `rc ==0' failed\\.");
}

TEST_F(OsLockDeath, ReportsASignalWithoutMemory) {
    EXPECT_DEATH(
        {
            system_calls.fail_allocation = true;
            OS_AllocSignal();
        },
        "oslite.*OS_AllocSignal.*Assertion `pSem !=0' failed\\.");
}

} // namespace
