// Waiting for what another thread is about to do.
#pragma once

#include <chrono>
#include <functional>
#include <thread>

/// @return false when the condition did not come true in twenty seconds
inline bool eventually(const std::function<bool()>& condition) {
    using namespace std::chrono_literals;
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(5ms);
    }
    return true;
}
