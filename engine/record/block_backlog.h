// Blocks that wait to be written.
#pragma once

#include "media/packet_block.h"
#include "pacing/time_source.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

namespace velmora {

/// A queue that is bounded by bytes, never makes its feeder wait, and hands out large pieces. Thread-safe.
class BlockBacklog {
public:
    /// @param capacity bytes
    /// @param piece bytes that are worth being written at once
    /// @param time outlives the backlog
    BlockBacklog(std::size_t capacity, std::size_t piece, TimeSource& time)
        : capacity_{capacity}, piece_{piece}, time_{time} {}

    /// @return false when there is no room, or no more is taken
    bool put(SharedBlock block);
    /// Waits until a piece is here, or anything has been for `longest`, or wake() or close() was called.
    /// @return the oldest blocks, as many as make up a piece; none when there are none
    std::vector<SharedBlock> take(std::chrono::milliseconds longest);
    void wake();
    /// Takes no more blocks; what is here can still be taken.
    void close();
    /// Forgets what is here, and takes no more.
    /// @return bytes forgotten
    std::size_t discard();
    /// Closed, and everything was taken.
    bool is_drained() const;

private:
    const std::size_t capacity_;
    const std::size_t piece_;
    TimeSource& time_;
    const std::unique_ptr<WakeSignal> changed_{time_.make_signal()};
    mutable std::mutex mutex_;
    // Protected by mutex_:
    std::deque<SharedBlock> blocks_;
    std::size_t bytes_{0};
    SteadyTime waiting_since_; ///< of what blocks_ holds
    bool is_woken_{false};
    bool is_closed_{false};
};

} // namespace velmora
