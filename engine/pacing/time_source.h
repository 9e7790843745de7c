// What time it is, what work costs, and how threads sleep: all of it real, or simulated.
#pragma once

#include "media/picture_class.h"
#include "media/timeline.h"

#include <chrono>
#include <functional>
#include <memory>
#include <stop_token>
#include <thread>

namespace velmora {

/// Lets one thread sleep until another has something for it.
class WakeSignal {
public:
    WakeSignal() = default;
    virtual ~WakeSignal() = default;
    WakeSignal(const WakeSignal&) = delete;
    WakeSignal& operator=(const WakeSignal&) = delete;

    /// Wakes the thread that sleeps, or spares it the next sleep. Any thread, with any locks held.
    virtual void notify() = 0;
    /// Sleeps until notify() has been called since this returned last, `until` has come, or stop is
    /// requested. One thread at a time, which holds no lock.
    virtual void wait(const std::stop_token& stop, SteadyTime until = SteadyTime::max()) = 0;
};

/// A coded picture that is given to a decoder.
struct DecodingWork {
    PictureClass picture{PictureClass::reference};
    bool is_skipped{false}; ///< the decoder drops it
};

/// The only clock of the engine. One that is simulated makes everything that depends on time exact.
/// Thread-safe.
class TimeSource {
public:
    using Seconds = std::chrono::duration<double>;
    using ThreadBody = std::function<void(const std::stop_token&)>;

    TimeSource() = default;
    virtual ~TimeSource() = default;
    TimeSource(const TimeSource&) = delete;
    TimeSource& operator=(const TimeSource&) = delete;

    virtual SteadyTime now() const = 0;
    /// Does `decode` on the calling thread, which holds no lock.
    /// @return the processor time that the thread took for it
    virtual Seconds measure(const DecodingWork& work, const std::function<void()>& decode) = 0;

    virtual std::unique_ptr<WakeSignal> make_signal() = 0;
    /// For Worker: a thread whose body sleeps by this source's signals only.
    virtual std::jthread start(ThreadBody body) = 0;
    /// For Worker: waits until the thread has ended. The caller holds no lock that it takes.
    virtual void join(std::jthread& thread) = 0;
};

/// A thread that belongs to the object that holds this, and ends with it.
class Worker {
public:
    /// No thread.
    Worker() = default;
    /// @param time outlives the thread
    /// @param body ends soon after its token asks for it
    Worker(TimeSource& time, TimeSource::ThreadBody body)
        : time_{&time}, thread_{time.start(std::move(body))} {}
    ~Worker() { end(); }
    Worker(Worker&& other) noexcept = default;
    Worker& operator=(Worker&& other) noexcept {
        end();
        time_ = other.time_;
        thread_ = std::move(other.thread_);
        return *this;
    }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// Asks the body to end and waits until it has.
    void end() {
        if (thread_.joinable()) {
            thread_.request_stop();
            time_->join(thread_);
        }
    }
    void request_stop() { thread_.request_stop(); }
    bool is_own_thread() const { return std::this_thread::get_id() == thread_.get_id(); }

private:
    TimeSource* time_{nullptr};
    std::jthread thread_;
};

} // namespace velmora
