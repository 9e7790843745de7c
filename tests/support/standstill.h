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

private:
    void run(const std::stop_token& stop) {
        using namespace std::chrono_literals;
        auto expected = std::chrono::steady_clock::now();
        while (!stop.stop_requested()) {
            expected += 5ms;
            std::this_thread::sleep_until(expected);
            const auto now = std::chrono::steady_clock::now();
            const auto late = std::chrono::duration_cast<std::chrono::milliseconds>(now - expected);
            longest_ = std::max(longest_.load(), late.count());
            expected = now;
        }
    }

    std::atomic<std::chrono::milliseconds::rep> longest_{0};
    std::jthread thread_{[this](const std::stop_token& stop) { run(stop); }};
};

#endif
