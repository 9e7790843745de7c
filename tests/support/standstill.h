/*
 * Tells how long this machine kept a thread waiting that wanted to run.
 */
#ifndef TESTS_SUPPORT_STANDSTILL_H
#define TESTS_SUPPORT_STANDSTILL_H

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

/** Watches from construction to destruction, on its own thread. */
class StandstillWatch {
public:
    std::chrono::milliseconds longest() const { return std::chrono::milliseconds{longest_.load()}; }
    /** Pictures of 25 per second that were due while the machine stood still. */
    unsigned pictures_due() const { return pictures_due_; }

private:
    static constexpr std::chrono::milliseconds standstill{20};
    static constexpr std::chrono::milliseconds interval{40};

    void run(const std::stop_token& stop) {
        using namespace std::chrono_literals;
        auto expected = std::chrono::steady_clock::now();
        while (!stop.stop_requested()) {
            expected += 5ms;
            std::this_thread::sleep_until(expected);
            const auto now = std::chrono::steady_clock::now();
            const auto late = std::chrono::duration_cast<std::chrono::milliseconds>(now - expected);
            longest_ = std::max(longest_.load(), late.count());
            if (late >= standstill) {
                pictures_due_ += static_cast<unsigned>((late + interval - 1ms) / interval);
            }
            expected = now;
        }
    }

    std::atomic<std::chrono::milliseconds::rep> longest_{0};
    std::atomic<unsigned> pictures_due_{0};
    std::jthread thread_{[this](const std::stop_token& stop) { run(stop); }};
};

#endif
