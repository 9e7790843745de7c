// Virtual time passes only while all sleep, in the order of their times, and the same way each time.
#include "support/simulated_time.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;

class SimulatedTimes : public testing::Test {
protected:
    /// What happened, with the milliseconds since the test began.
    void note(const std::string& what) {
        const auto passed = std::chrono::round<std::chrono::milliseconds>(time.now() - begin);
        happened.push_back(std::to_string(passed.count()) + ' ' + what);
    }

    /// Notes `what` at `at`, then ends.
    Worker sleeper(const std::string& what, SteadyClock::duration at) {
        return {time, [this, what, at](const std::stop_token& stop) {
                    time.make_signal()->wait(stop, begin + at);
                    note(what);
                }};
    }

    /// Works at once, notes `what`, then ends.
    Worker decoder(const std::string& what) {
        return {time, [this, what](const std::stop_token&) {
                    time.measure({}, [] {});
                    note(what);
                }};
    }

    using Lines = std::vector<std::string>;

    SimulatedTime time;
    const SteadyTime begin{time.now()};
    Lines happened;
};

TEST_F(SimulatedTimes, BeginTheSameWellBehindZero) {
    EXPECT_EQ(time.now(), SimulatedTime{}.now());
    EXPECT_GT(time.now(), SteadyTime{1h});
}

TEST_F(SimulatedTimes, PassOnlyWhileAllSleep) {
    EXPECT_EQ(time.now(), begin);
    time.run_for(3s);
    EXPECT_EQ(time.now(), begin + 3s);
}

TEST_F(SimulatedTimes, LetThreadsRunInTheOrderOfTheirTimes) {
    const auto late = sleeper("late", 30ms);
    const auto early = sleeper("early", 10ms);
    const auto between = sleeper("between", 20ms);
    time.run_for(1s);
    EXPECT_EQ(happened, (Lines{"10 early", "20 between", "30 late"}));
}

TEST_F(SimulatedTimes, LetTheOneRunFirstThatWentToSleepFirst) {
    const auto first = sleeper("first", 10ms);
    const auto second = sleeper("second", 10ms);
    const auto third = sleeper("third", 10ms);
    time.run_for(1s);
    EXPECT_EQ(happened, (Lines{"10 first", "10 second", "10 third"}));
}

TEST_F(SimulatedTimes, LetTheTestSeeAllThatHappensAtItsTime) {
    const auto signal = time.make_signal();
    const Worker woken{time, [&](const std::stop_token& stop) {
                           signal->wait(stop);
                           note("woken");
                       }};
    const Worker waking{time, [&](const std::stop_token& stop) {
                            time.make_signal()->wait(stop, begin + 10ms);
                            note("wakes");
                            signal->notify();
                        }};
    time.run_for(10ms);
    EXPECT_EQ(happened, (Lines{"10 wakes", "10 woken"}));
}

TEST_F(SimulatedTimes, LetNobodyWhoIsReadyWaitForOneWhoNeverSleepsLong) {
    const auto busy = time.make_signal();
    const Worker first{time, [&](const std::stop_token& stop) {
                           for (int i = 0; i < 2; ++i) {
                               note("busy");
                               busy->notify();
                               busy->wait(stop);
                           }
                       }};
    const Worker second{time, [&](const std::stop_token&) { note("other"); }};
    time.run_for(1ms);
    EXPECT_EQ(happened, (Lines{"0 busy", "0 other", "0 busy"}));
}

TEST_F(SimulatedTimes, NotificationWakesAtOnceAndOnlyOnce) {
    const auto signal = time.make_signal();
    const Worker worker{time, [&](const std::stop_token& stop) {
                            signal->wait(stop, begin + 20ms);
                            note("first");
                            signal->wait(stop, begin + 20ms);
                            note("second");
                        }};
    time.run_for(5ms);
    signal->notify();
    signal->notify();
    time.run_for(1s);
    EXPECT_EQ(happened, (Lines{"5 first", "20 second"}));
}

TEST_F(SimulatedTimes, NotificationBeforeTheSleepSparesIt) {
    const auto signal = time.make_signal();
    signal->notify();
    signal->wait({}, begin + 1s);
    EXPECT_EQ(time.now(), begin);
    signal->wait({}, begin + 1s);
    EXPECT_EQ(time.now(), begin + 1s);
}

TEST_F(SimulatedTimes, LoseNoNotification) {
    constexpr int rounds = 10'000;
    const auto ping = time.make_signal();
    const auto pong = time.make_signal();
    int received = 0;
    const Worker echo{time, [&](const std::stop_token& stop) {
                          while (!stop.stop_requested()) {
                              ping->wait(stop);
                              ++received;
                              pong->notify();
                          }
                      }};
    for (int round = 0; round < rounds; ++round) {
        ping->notify();
        pong->wait({});
        ASSERT_EQ(received, round + 1);
    }
    EXPECT_EQ(time.now(), begin);
}

TEST_F(SimulatedTimes, AWaitIntoThePastReturns) {
    time.run_for(1s);
    time.make_signal()->wait({}, begin);
    EXPECT_EQ(time.now(), begin + 1s);
}

TEST_F(SimulatedTimes, ARequestToStopWakes) {
    Worker worker{time, [&](const std::stop_token& stop) {
                      time.make_signal()->wait(stop);
                      note(stop.stop_requested() ? "stopped" : "woken");
                      time.make_signal()->wait(stop);
                      note("does not sleep again");
                  }};
    time.run_for(7ms);
    worker.end();
    EXPECT_EQ(happened, (Lines{"7 stopped", "7 does not sleep again"}));
}

TEST_F(SimulatedTimes, JoiningWaitsForTheEnd) {
    time.set_cost([](const DecodingWork&) { return 40ms; });
    Worker worker = decoder("decoded");
    worker.end();
    note("joined");
    worker.end();
    EXPECT_EQ(happened, (Lines{"40 decoded", "40 joined"}));
}

TEST_F(SimulatedTimes, AThreadThatHasEndedIsJoinedAtOnce) {
    Worker worker = sleeper("ended", 1ms);
    time.run_for(1s);
    worker.end();
    EXPECT_EQ(time.now(), begin + 1s);
}

TEST_F(SimulatedTimes, AThreadStartsAndJoinsOthers) {
    Worker outer{time, [&](const std::stop_token& stop) {
                     Worker inner = sleeper("inner", 10ms);
                     time.make_signal()->wait(stop, begin + 20ms);
                     inner.end();
                     note("outer");
                 }};
    time.run_for(1s);
    EXPECT_EQ(happened, (Lines{"10 inner", "20 outer"}));
}

TEST_F(SimulatedTimes, WorkCostsNothingUnlessItIsSaid) {
    bool is_done = false;
    EXPECT_EQ(time.measure({}, [&] { is_done = true; }), 0s);
    EXPECT_TRUE(is_done);
    EXPECT_EQ(time.now(), begin);
}

TEST_F(SimulatedTimes, WorkCostsWhatItsKindDoes) {
    time.set_cost([](const DecodingWork& work) {
        return work.is_skipped ? 1ms : (work.picture == PictureClass::key ? 30ms : 10ms);
    });
    EXPECT_EQ(time.measure({PictureClass::key, false}, [] {}), 30ms);
    EXPECT_EQ(time.now(), begin + 30ms);
    EXPECT_EQ(time.measure({PictureClass::disposable, false}, [] {}), 10ms);
    EXPECT_EQ(time.now(), begin + 40ms);
    EXPECT_EQ(time.measure({PictureClass::disposable, true}, [] {}), 1ms);
    EXPECT_EQ(time.now(), begin + 41ms);
}

TEST_F(SimulatedTimes, WhatComesOfWorkComesAtItsEnd) {
    time.set_cost([](const DecodingWork&) { return 40ms; });
    time.measure({}, [this] { note("decoded"); });
    EXPECT_EQ(happened, (Lines{"40 decoded"}));
}

TEST_F(SimulatedTimes, NothingShortensWork) {
    time.set_cost([](const DecodingWork&) { return 40ms; });
    Worker worker = decoder("decoded");
    time.run_for(1ms);
    worker.request_stop();
    time.run_for(1s);
    EXPECT_EQ(happened, (Lines{"40 decoded"}));
}

TEST_F(SimulatedTimes, EachThreadHasAProcessor) {
    time.set_cost([](const DecodingWork&) { return 40ms; });
    const Worker first = decoder("first");
    const Worker second = decoder("second");
    time.run_for(1s);
    EXPECT_EQ(happened, (Lines{"40 first", "40 second"}));
}

TEST_F(SimulatedTimes, WhatIsDueWhileTheMachineStandsStillHappensAtTheEndOfThat) {
    time.stall(begin + 10ms, 100ms);
    const auto at_end = sleeper("at its end", 110ms);
    const auto later = sleeper("later", 105ms);
    const auto sooner = sleeper("sooner", 10ms);
    const auto before = sleeper("before", 9ms);
    const auto after = sleeper("after", 111ms);
    time.run_for(20ms);
    note("test");
    time.run_for(1s);
    EXPECT_EQ(happened,
              (Lines{"9 before", "110 sooner", "110 later", "110 at its end", "110 test", "111 after"}));
}

TEST_F(SimulatedTimes, WorkInProgressStandsStillAsWell) {
    time.set_cost([](const DecodingWork&) { return 40ms; });
    time.stall(begin + 10ms, 100ms);
    time.stall(begin + 120ms, 100ms);
    const Worker worker = decoder("decoded");
    time.run_for(1s);
    EXPECT_EQ(happened, (Lines{"240 decoded"}));
}

TEST_F(SimulatedTimes, StandStillEvenWhenThatIsSaidLate) {
    time.set_cost([](const DecodingWork&) { return 40ms; });
    const Worker worker = decoder("decoded");
    const Worker sleeping = sleeper("woken", 20ms);
    time.run_for(10ms);
    time.stall(begin + 15ms, 100ms);
    time.run_for(1s);
    EXPECT_EQ(happened, (Lines{"115 woken", "140 decoded"}));
}

class SimulatedTimeDeathTest : public testing::Test {
protected:
    SimulatedTimeDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(SimulatedTimeDeathTest, EndsWhereAllWaitForEachOther) {
    EXPECT_DEATH(
        {
            SimulatedTime time;
            time.make_signal()->wait({});
        },
        "wait for each other");
}

TEST_F(SimulatedTimeDeathTest, EndsWhereTimeNeverPasses) {
    EXPECT_DEATH(
        {
            SimulatedTime time;
            while (true) {
                time.make_signal()->wait({}, time.now());
            }
        },
        "without time passing");
}

TEST_F(SimulatedTimeDeathTest, EndsWhereSomebodyElseSleeps) {
    EXPECT_DEATH(
        {
            SimulatedTime time;
            std::jthread{[&] { time.make_signal()->wait({}); }}.join();
        },
        "not started by it");
}

} // namespace
} // namespace velmora::test
