// Decides which sound is written to the outlet, and when.
#pragma once

#include "media/sound_frame.h"
#include "media/timeline.h"
#include "present/drift_control.h"
#include "present/play_clock.h"
#include "present/sound_outlet.h"
#include "present/sound_resampler.h"

#include <optional>
#include <vector>

namespace velmora {

/// Lets the sound of a position be heard when the clock says that position: sound that is not due yet waits
/// behind silence, late sound is dropped, the device's drift is followed. The clock's rate decides: 1 is
/// heard, 0 waits, at every other rate, or without a device, sound is passed over when its time has come.
/// Takes its time from the caller; for one thread at a time.
class SoundFeeder {
public:
    explicit SoundFeeder(SoundOutlet& outlet) : outlet_{outlet} {}

    /// Does what is due at `now`. To be called every 10 ms or so, and after each accept().
    void feed(const PlayClock& clock, SteadyTime now);

    /// Whether the next frame is needed now.
    bool hungry() const { return hungry_; }
    /// Takes the next frame; only while hungry.
    void accept(SoundFrame frame);

    /// Forgets all sound that has not been heard yet.
    void discard();

    /// How much too early the sound is heard, mean of a tenth of a second; nothing while none is heard.
    std::optional<Seconds> offset() const { return offset_; }

private:
    void pass_over(const PlayClock& clock, SteadyTime now);
    void play(const PlayClock& clock, SteadyTime now);
    void realign(const PlayClock& clock, SteadyTime now);
    bool align_next(const PlayClock& clock, SteadyTime now);
    bool convert_held();
    void control_drift(const PlayClock& clock, SteadyTime now);
    void skip_converted(std::size_t frames);
    std::size_t converted_frames() const { return (converted_.size() - used_) / output_channels; }
    Seconds measure_offset(const PlayClock& clock, SteadyTime now) const;

    SoundOutlet& outlet_;
    SoundResampler resampler_;
    DriftControl drift_;

    bool hungry_{false};
    bool playing_{false}; ///< the outlet is audible
    bool aligned_{false}; ///< what is written next belongs right behind what was written last
    std::optional<SoundFrame> held_;
    std::vector<float> converted_;
    std::size_t used_{0};                  ///< samples of converted_ that are written already
    Position next_position_{};             ///< of what is written next
    std::optional<Position> next_frame_{}; ///< where the frame behind the last one should stand

    Seconds offset_sum_{0};
    int offset_count_{0};
    std::optional<SteadyTime> controlled_at_;
    std::optional<Seconds> offset_;
};

} // namespace velmora
