// Takes what a receiver hands on.
#pragma once

#include "media/packet_block.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace velmora::test {

/// Outlives the receiver whose sink it is.
class Collector {
public:
    static constexpr std::chrono::seconds patience{10};

    BlockSink sink() {
        return [this](const SharedBlock& block) {
            const std::lock_guard lock{mutex_};
            bytes_.insert(bytes_.end(), block->bytes.begin(), block->bytes.end());
            changed_.notify_all();
        };
    }

    /// Waits until so many bytes have come.
    bool wait_for(std::size_t bytes) {
        std::unique_lock lock{mutex_};
        return changed_.wait_for(lock, patience, [&] { return bytes_.size() >= bytes; });
    }
    std::vector<std::uint8_t> bytes() const {
        const std::lock_guard lock{mutex_};
        return bytes_;
    }
    void clear() {
        const std::lock_guard lock{mutex_};
        bytes_.clear();
    }

private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::uint8_t> bytes_;
};

/// Waits until a condition holds that nobody notifies of.
template <class Condition>
bool eventually(const Condition& holds, std::chrono::milliseconds patience = Collector::patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!holds()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds{5});
    }
    return true;
}

} // namespace velmora::test
