// The meeting point of the thread that feeds sound and the device that fetches it.
#pragma once

#include "media/timeline.h"
#include "present/sound_ring.h"
#include "present/volume.h"

#include <cstddef>
#include <mutex>
#include <optional>
#include <span>

namespace velmora {

/// Holds the sound that the device fetches next and knows when it will be heard. Thread-safe; the lock is
/// held for a copy of some kilobytes at most, so the device never waits long.
class SoundOutlet {
public:
    SoundOutlet();

    /// The device's side: fills `samples` with what comes next, with silence where there is nothing. Called
    /// at `now`, once per block.
    void fetch(std::span<float> samples, SteadyTime now);

    /// Whether a device fetches.
    bool active(SteadyTime now) const;

    /// When a frame that is written now will leave the loudspeaker, as far as one can know.
    SteadyTime next_heard_at(SteadyTime now) const;

    /// Frames missing until enough is buffered to outlast a late wake-up of the feeding thread.
    std::size_t wanted() const;
    /// @return frames taken
    std::size_t write(std::span<const float> samples);

    /// Lets everything be heard later by `frames` of silence; inserted before what waits.
    void delay(std::size_t frames);
    /// Puts `frames` of silence behind what waits.
    void append_silence(std::size_t frames);
    /// Drops the `frames` that would be heard first. @return frames dropped
    std::size_t drop(std::size_t frames);
    void clear();

    /// Fades out and keeps what waits (false), or goes on with it (true).
    void set_audible(bool audible);

    /// Whether the device found too little since the last call.
    bool take_underrun();

private:
    mutable std::mutex mutex_; ///< protects all below
    SoundRing ring_;
    GainRamp ramp_;
    bool audible_{false};
    bool underrun_{false};
    std::optional<SteadyTime> fetched_at_;
    Seconds block_{0}; ///< length of what was fetched last
};

} // namespace velmora
