#include "support/simulated_time.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <tuple>
#include <utility>

namespace velmora::test {

namespace {

using namespace std::chrono_literals;

constexpr SteadyTime beginning{24h};
/// No engine comes near that at one time.
constexpr int most_changes_at_once = 1'000'000;

[[noreturn]] void give_up(const char* reason) {
    std::fprintf(stderr, "simulated time: %s\n", reason);
    std::abort();
}

} // namespace

struct SimulatedTime::Task {
    enum class Sleep {
        light,     ///< by a signal
        deep,      ///< the end of some work, or of a thread
        observing, ///< until whatever happens at that time has happened
    };

    std::thread::id thread;
    std::condition_variable turn;
    bool is_running{false};
    bool has_ended{false};
    Sleep sleep{Sleep::light};
    SteadyTime wake_at{SteadyTime::max()};
    std::uint64_t rank{0}; ///< among those that wake at once
    Task* joiner{nullptr}; ///< waits for the end
};

struct SimulatedTime::Stall {
    SteadyTime begin;
    SteadyTime end;
};

class SimulatedTime::Signal final : public WakeSignal {
public:
    explicit Signal(SimulatedTime& time) : time_{time} {}

    void notify() override {
        const std::lock_guard lock{time_.mutex_};
        is_notified_ = true;
        if (sleeper_ != nullptr) {
            time_.make_ready(*std::exchange(sleeper_, nullptr));
        }
    }

    void wait(const std::stop_token& stop, SteadyTime until) override {
        const std::stop_callback on_stop{stop, [this] { notify(); }}; // at once where it was requested before
        Lock lock{time_.mutex_};
        Task& task = time_.current();
        sleeper_ = is_notified_ ? nullptr : &task;
        task.sleep = Task::Sleep::light;
        time_.sleep(lock, task, is_notified_ ? time_.now_ : until);
        sleeper_ = nullptr;
        is_notified_ = false;
    }

private:
    SimulatedTime& time_;
    // Protected by its mutex:
    bool is_notified_{false};
    Task* sleeper_{nullptr};
};

SimulatedTime::SimulatedTime() : now_{beginning} {
    auto test = std::make_unique<Task>();
    test->thread = std::this_thread::get_id();
    test->is_running = true;
    tasks_.push_back(std::move(test));
}

SimulatedTime::~SimulatedTime() {
    if (tasks_.size() > 1) {
        give_up("a thread outlives it");
    }
}

void SimulatedTime::set_cost(Cost cost) {
    const std::lock_guard lock{mutex_};
    cost_ = std::move(cost);
}

void SimulatedTime::stall(SteadyTime begin, SteadyClock::duration length) {
    const std::lock_guard lock{mutex_};
    if (begin < now_) {
        give_up("a standstill in the past");
    }
    stalls_.push_back({begin, begin + length});
    std::ranges::sort(stalls_, {}, &Stall::begin);
    for (const auto& task : tasks_) {
        const bool is_working = task->sleep == Task::Sleep::deep && task->wake_at != SteadyTime::max();
        if (is_working && !task->is_running && task->wake_at > begin) {
            task->wake_at += length;
        }
    }
}

void SimulatedTime::run_until(SteadyTime until) {
    Lock lock{mutex_};
    Task& task = current();
    if (&task != tasks_.front().get()) {
        give_up("run_until on another thread than the test's");
    }
    task.sleep = Task::Sleep::observing;
    sleep(lock, task, until);
}

SteadyTime SimulatedTime::now() const {
    const std::lock_guard lock{mutex_};
    return now_;
}

TimeSource::Seconds SimulatedTime::measure(const DecodingWork& work, const std::function<void()>& decode) {
    Cost cost;
    {
        const std::lock_guard lock{mutex_};
        cost = cost_;
    }
    const Seconds taken = cost ? cost(work) : Seconds::zero();
    if (taken > Seconds::zero()) {
        Lock lock{mutex_};
        Task& task = current();
        task.sleep = Task::Sleep::deep;
        sleep(lock, task, end_of_work(std::chrono::round<SteadyClock::duration>(taken)));
    }
    decode();
    return taken;
}

std::unique_ptr<WakeSignal> SimulatedTime::make_signal() {
    return std::make_unique<Signal>(*this);
}

std::jthread SimulatedTime::start(ThreadBody body) {
    const std::lock_guard lock{mutex_};
    Task& task = *tasks_.emplace_back(std::make_unique<Task>());
    make_ready(task);
    std::jthread thread{[this, &task, body = std::move(body)](const std::stop_token& stop) {
        {
            Lock start{mutex_};
            task.turn.wait(start, [&] { return task.is_running; });
        }
        body(stop);
        end(task);
    }};
    task.thread = thread.get_id();
    return thread;
}

void SimulatedTime::join(std::jthread& thread) {
    {
        Lock lock{mutex_};
        Task* const joined = find(thread.get_id());
        if (joined == nullptr) {
            give_up("another's thread is joined");
        }
        Task& task = current();
        if (!joined->has_ended) {
            joined->joiner = &task;
            task.sleep = Task::Sleep::deep;
            sleep(lock, task, SteadyTime::max());
        }
    }
    const std::thread::id id = thread.get_id();
    thread.join();
    const std::lock_guard lock{mutex_};
    std::erase_if(tasks_, [&](const auto& task) { return task->thread == id; });
}

/// Under the lock, as all below.
SimulatedTime::Task& SimulatedTime::current() {
    Task* const task = find(std::this_thread::get_id());
    if (task == nullptr) {
        give_up("a thread sleeps that was not started by it");
    }
    return *task;
}

SimulatedTime::Task* SimulatedTime::find(std::thread::id thread) {
    const auto found = std::ranges::find(tasks_, thread, &Task::thread);
    return found == tasks_.end() ? nullptr : found->get();
}

/// When it goes on, for all the standstills.
SteadyTime SimulatedTime::due(const Task& task) const {
    for (const Stall& stall : stalls_) {
        if (task.wake_at >= stall.begin && task.wake_at < stall.end) {
            return stall.end;
        }
    }
    return task.wake_at;
}

SteadyTime SimulatedTime::end_of_work(SteadyClock::duration cost) const {
    SteadyTime end = now_ + cost;
    for (const Stall& stall : stalls_) {
        if (stall.begin >= now_ && stall.begin < end) {
            end += stall.end - stall.begin;
        }
    }
    return end;
}

void SimulatedTime::make_ready(Task& task) {
    task.wake_at = std::min(task.wake_at, now_);
    task.rank = next_rank_++;
}

/// Returns when it is the task's turn again.
void SimulatedTime::sleep(Lock& lock, Task& task, SteadyTime until) {
    task.wake_at = std::max(until, now_);
    task.rank = next_rank_++;
    task.is_running = false;
    run_next();
    task.turn.wait(lock, [&] { return task.is_running; });
}

void SimulatedTime::run_next() {
    Task* next = nullptr;
    const auto order = [this](const Task& task) {
        return std::tuple{due(task), task.sleep == Task::Sleep::observing, task.wake_at, task.rank};
    };
    for (const auto& task : tasks_) {
        if (!task->has_ended && (next == nullptr || order(*task) < order(*next))) {
            next = task.get();
        }
    }
    const SteadyTime then = due(*next);
    if (then == SteadyTime::max()) {
        give_up("all threads, the test's as well, wait for each other");
    }
    changes_at_once_ = then > now_ ? 0 : changes_at_once_ + 1;
    if (changes_at_once_ > most_changes_at_once) {
        give_up("threads wake each other for ever without time passing");
    }
    now_ = std::max(now_, then);
    next->is_running = true;
    next->turn.notify_one();
}

void SimulatedTime::end(Task& task) {
    const std::lock_guard lock{mutex_};
    task.has_ended = true;
    task.is_running = false;
    if (task.joiner != nullptr) {
        make_ready(*task.joiner);
    }
    run_next();
}

} // namespace velmora::test
