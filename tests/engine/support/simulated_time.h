// Virtual time for tests: it passes only while everybody sleeps, and every run is the same.
#pragma once

#include "pacing/time_source.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace velmora::test {

/// Threads are real, but one at a time runs: the test's own, which made this, or one of those started here.
/// It runs on, without time passing, until it sleeps: by a signal, for what decoding costs, to join another,
/// in run_until. Then the one that wakes first goes on, at that time; of several, the one that has been ready
/// longest. Where all sleep for ever, or change places without time passing, the test is aborted with a line.
///
/// Who sleeps holds no lock. All functions may be called by any of these threads, unless they say otherwise.
class SimulatedTime final : public TimeSource {
public:
    using Cost = std::function<Seconds(const DecodingWork&)>;

    SimulatedTime();
    /// All threads have been joined.
    ~SimulatedTime() override;

    /// What decoding takes from now on; nothing, as long as this was not called. Each thread has a processor
    /// of its own.
    void set_cost(Cost cost);
    /// The machine stands still from `begin`, which is not past: nothing runs for `length`. Whoever would
    /// have woken meanwhile wakes at its end; decoding in progress takes so much longer. Not one within
    /// another.
    void stall(SteadyTime begin, SteadyClock::duration length);
    /// Lets all others do what is due up to and at `until`. The test's thread only.
    void run_until(SteadyTime until);
    void run_for(SteadyClock::duration length) { run_until(now() + length); }

    /// Begins well behind zero, always at the same time.
    SteadyTime now() const override;
    /// Decodes when the cost has passed, so that whatever comes of it comes then.
    /// @return the cost
    Seconds measure(const DecodingWork& work, const std::function<void()>& decode) override;
    std::unique_ptr<WakeSignal> make_signal() override;
    std::jthread start(ThreadBody body) override;
    void join(std::jthread& thread) override;

private:
    struct Task;
    struct Stall;
    class Signal;
    using Lock = std::unique_lock<std::mutex>;

    Task& current();
    Task* find(std::thread::id thread);
    SteadyTime due(const Task& task) const;
    void make_ready(Task& task);
    void sleep(Lock& lock, Task& task, SteadyTime until);
    void run_next();
    SteadyTime end_of_work(SteadyClock::duration cost) const;
    void end(Task& task);

    mutable std::mutex mutex_;
    // Protected by mutex_:
    SteadyTime now_;
    std::vector<std::unique_ptr<Task>> tasks_; ///< the first is the test
    std::vector<Stall> stalls_;
    Cost cost_;
    std::uint64_t next_rank_{0};
    int changes_at_once_{0}; ///< from one thread to another since time passed
};

} // namespace velmora::test
