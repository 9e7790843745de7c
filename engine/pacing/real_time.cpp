#include "pacing/real_time.h"

#include <condition_variable>
#include <ctime>
#include <mutex>
#include <utility>

namespace velmora {

namespace {

class RealSignal final : public WakeSignal {
public:
    void notify() override {
        {
            const std::lock_guard lock{mutex_};
            is_notified_ = true;
        }
        changed_.notify_one();
    }

    void wait(const std::stop_token& stop, SteadyTime until) override {
        std::unique_lock lock{mutex_};
        const auto is_notified = [this] { return is_notified_; };
        if (until == SteadyTime::max()) {
            changed_.wait(lock, stop, is_notified);
        } else {
            changed_.wait_until(lock, stop, until, is_notified);
        }
        is_notified_ = false;
    }

private:
    std::mutex mutex_;
    std::condition_variable_any changed_;
    bool is_notified_{false}; ///< protected by mutex_
};

TimeSource::Seconds thread_time() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds{time.tv_sec} + std::chrono::nanoseconds{time.tv_nsec};
}

} // namespace

SteadyTime RealTime::now() const {
    return SteadyClock::now();
}

TimeSource::Seconds RealTime::measure(const DecodingWork& /*work*/, const std::function<void()>& decode) {
    const Seconds begin = thread_time();
    decode();
    return thread_time() - begin;
}

std::unique_ptr<WakeSignal> RealTime::make_signal() {
    return std::make_unique<RealSignal>();
}

std::jthread RealTime::start(ThreadBody body) {
    return std::jthread{std::move(body)};
}

void RealTime::join(std::jthread& thread) {
    thread.join();
}

} // namespace velmora
