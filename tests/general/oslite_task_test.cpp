#include "general/oslite.h"

#include "general/system_calls.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <thread>

namespace {

/** A task that runs until it is let go. */
class GatedTask {
public:
    GatedTask() = default;
    GatedTask(const GatedTask&) = delete;
    GatedTask& operator=(const GatedTask&) = delete;
    ~GatedTask() {
        release();
        OS_TaskDelete(m_task);
    }

    void release() {
        m_open = true;
        m_open.notify_all();
    }
    OS_Task_t handle() const { return m_task; }

private:
    static void* run(void* self) {
        static_cast<GatedTask*>(self)->m_open.wait(false);
        return nullptr;
    }

    std::atomic<bool> m_open = false;
    OS_Task_t m_task = OS_TaskCreate(4096, "gated", run, 0, this);
};

/** Waits for a task's end without releasing its handle. */
void wait_until_ended(OS_Task_t task) {
    while (OS_IsTaskRunning(task) != 0) {
        std::this_thread::yield();
    }
}

class OsTask : public testing::Test {
protected:
    void TearDown() override { system_calls = {}; }

    /** Counts the sleeps from here on, without sleeping; `hook` runs in each. */
    void count_sleeps(std::function<void()> hook = [] {}) {
        system_calls.sleep = [this, hook = std::move(hook)](const timespec& duration) {
            EXPECT_EQ(duration.tv_sec, 0);
            EXPECT_EQ(duration.tv_nsec, 1'000'000);
            ++m_sleeps;
            hook();
            return 0;
        };
    }

    int m_sleeps = 0;
};

TEST_F(OsTask, RunsItsEntryPointWithItsParameter) {
    int value = 0;
    const OS_Task_t task = OS_TaskCreate(
        65536, "task",
        [](void* parameter) -> void* {
            *static_cast<int*>(parameter) = 42;
            return nullptr;
        },
        7, &value);
    ASSERT_NE(task, 0U);
    OS_TaskDelete(task);
    EXPECT_EQ(value, 42);
}

void* stack_size_of_self(void* parameter) {
    pthread_attr_t attributes;
    pthread_getattr_np(pthread_self(), &attributes);
    pthread_attr_getstacksize(&attributes, static_cast<std::size_t*>(parameter));
    pthread_attr_destroy(&attributes);
    return nullptr;
}

TEST_F(OsTask, GetsTheStackItAsksFor) {
    constexpr U32 asked = 64U << 20U;
    std::size_t given = 0;
    OS_TaskDelete(OS_TaskCreate(asked, "task", stack_size_of_self, 0, &given));
    EXPECT_GE(given, asked);
    EXPECT_LT(given, 2U * asked);
}

TEST_F(OsTask, GetsTheDefaultStackWhenItAsksForTooLittle) {
    std::size_t ordinary = 0;
    std::size_t given = 0;
    pthread_t plain{};
    ASSERT_EQ(pthread_create(&plain, nullptr, stack_size_of_self, &ordinary), 0);
    pthread_join(plain, nullptr);
    OS_TaskDelete(OS_TaskCreate(4096, "task", stack_size_of_self, 0, &given));
    EXPECT_EQ(given, ordinary);
}

TEST_F(OsTask, IsZeroWhenNoThreadCanBeMade) {
    system_calls.thread_create = EAGAIN;
    EXPECT_EQ(OS_TaskCreate(4096, "task", stack_size_of_self, 0, nullptr), 0U);
}

TEST_F(OsTask, RunsUntilItEndsEvenBeforeItIsReleased) {
    GatedTask task;
    EXPECT_EQ(OS_IsTaskRunning(task.handle()), 1);
    task.release();
    wait_until_ended(task.handle());
    EXPECT_EQ(OS_IsTaskRunning(task.handle()), 0);
}

TEST_F(OsTask, DeletingWaitsForTheEnd) {
    struct State {
        std::atomic<bool> deleting = false;
        bool ended = false;
    } state;
    const OS_Task_t task = OS_TaskCreate(
        4096, "task",
        [](void* parameter) -> void* {
            auto* shared = static_cast<State*>(parameter);
            shared->deleting.wait(false);
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            shared->ended = true;
            return nullptr;
        },
        0, &state);
    state.deleting = true;
    state.deleting.notify_all();
    OS_TaskDelete(task);
    EXPECT_TRUE(state.ended);
}

TEST_F(OsTask, DeletingADeletedNeighbourLeavesALaterTaskJoinable) {
    // The system reuses the handle's memory: a careless second release would hit the later task.
    for (int round = 0; round < 50; ++round) {
        GatedTask first;
        first.release();
        wait_until_ended(first.handle());
        const GatedTask second;
        EXPECT_EQ(OS_IsTaskRunning(second.handle()), 1);
    }
}

TEST_F(OsTask, NoTaskNeitherRunsNorNeedsReleasing) {
    EXPECT_EQ(OS_IsTaskRunning(0), 0);
    OS_TaskDelete(0);
}

TEST_F(OsTask, WaitingForAnEndedTaskReturnsAtOnce) {
    GatedTask task;
    task.release();
    wait_until_ended(task.handle());
    count_sleeps();
    EXPECT_EQ(OS_TaskWait(task.handle(), 1000), -1);
    EXPECT_EQ(OS_TaskWait(task.handle(), OS_WAIT_FOREVER), -1);
    EXPECT_EQ(m_sleeps, 0);
}

TEST_F(OsTask, AWaitOfLessThanTwoPollsDoesNotSleep) {
    const GatedTask task;
    count_sleeps();
    for (const U32 time_out : {0U, 10U, 15U, 19U}) {
        EXPECT_EQ(OS_TaskWait(task.handle(), time_out), -1) << time_out;
    }
    EXPECT_EQ(m_sleeps, 0);
}

TEST_F(OsTask, EachMillisecondSleptCountsAsTen) {
    const GatedTask task;
    count_sleeps();
    EXPECT_EQ(OS_TaskWait(task.handle(), 1000), -1);
    EXPECT_EQ(m_sleeps, 99);
}

TEST_F(OsTask, GivesUpAWaitOf1000AfterAboutATenthOfASecond) {
    const GatedTask task;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(OS_TaskWait(task.handle(), 1000), -1);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(99));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(900));
}

class OsTaskEndless : public OsTask, public testing::WithParamInterface<U32> {};

TEST_P(OsTaskEndless, WaitsUntilTheTaskEnds) {
    constexpr int sleeps_before_the_end = 1000;
    GatedTask task;
    count_sleeps([&] {
        if (m_sleeps == sleeps_before_the_end) {
            task.release();
            wait_until_ended(task.handle());
        }
    });
    EXPECT_EQ(OS_TaskWait(task.handle(), GetParam()), -1);
    EXPECT_EQ(m_sleeps, sleeps_before_the_end);
}

// Time-outs below one poll wrap around.
INSTANTIATE_TEST_SUITE_P(TimeOuts, OsTaskEndless, testing::Values(1U, 5U, 9U, OS_WAIT_FOREVER));

TEST_F(OsTask, KnowsItself) {
    EXPECT_NE(pthread_equal(OS_TaskGetSelf(), pthread_self()), 0);
    EXPECT_EQ(OS_IsTaskRunning(OS_TaskGetSelf()), 1);
}

TEST_F(OsTask, TellsItsPriority) {
    int policy = 0;
    sched_param parameters{};
    ASSERT_EQ(pthread_getschedparam(pthread_self(), &policy, &parameters), 0);
    int priority = -1;
    EXPECT_EQ(OS_GetTaskPriority(OS_TaskGetSelf(), &priority), 0);
    EXPECT_EQ(priority, parameters.sched_priority);
    OS_SetPriortyClass(5);
    EXPECT_EQ(OS_GetTaskPriority(OS_TaskGetSelf(), &priority), 0);
    EXPECT_EQ(priority, parameters.sched_priority);
}

} // namespace
