// Who listens in a simulation: takes the sound of a queue when its time has come.
#pragma once

#include "media/sound_frame.h"
#include "pacing/time_source.h"
#include "present/play_clock.h"

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <vector>

namespace velmora::test {

/// Fetches frames a moment before they are due, as a device does, on a thread of its own.
class SimulatedEar {
public:
    struct Heard {
        Position position;
        SteadyTime at; ///< when it was fetched
    };

    /// How long before it is heard a device fetches sound.
    static constexpr std::chrono::milliseconds lead{60};
    /// How often it looks.
    static constexpr std::chrono::milliseconds interval{10};

    /// @param time outlives the ear
    SimulatedEar(TimeSource& time, std::shared_ptr<SoundQueue> queue,
                 std::shared_ptr<const SharedPlayClock> clock);
    ~SimulatedEar() = default;
    SimulatedEar(const SimulatedEar&) = delete;
    SimulatedEar& operator=(const SimulatedEar&) = delete;

    /// What was fetched, or waits to be, is not heard.
    void discard();
    std::vector<Heard> heard() const;

private:
    void run(const std::stop_token& stop);
    void listen();

    TimeSource& time_;
    const std::shared_ptr<SoundQueue> queue_;
    const std::shared_ptr<const SharedPlayClock> clock_;
    mutable std::mutex mutex_;
    // Protected by mutex_:
    std::optional<SoundFrame> next_;
    std::vector<Heard> heard_;

    Worker thread_; ///< last, so that it ends first
};

} // namespace velmora::test
