// The sound of a session.
#pragma once

#include "diagnostics/message_board.h"
#include "media/sound_frame.h"
#include "pacing/time_source.h"
#include "present/audio_device_keeper.h"
#include "present/play_clock.h"
#include "present/sound_feeder.h"
#include "present/sound_outlet.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

namespace velmora {

/// Lets the frames of a queue be heard by the time of a clock. A follower: it never holds up the clock, and
/// without a device it takes the frames all the same when their time has come. Heard at rate 1 only.
///
/// All functions may be called from any thread, but not from a notification of the queue.
class AudioOut {
public:
    /// @param time must outlive it
    /// @param messages must outlive it; gets whether there is sound without a device
    AudioOut(TimeSource& time, MessageBoard& messages);
    ~AudioOut() = default;
    AudioOut(const AudioOut&) = delete;
    AudioOut& operator=(const AudioOut&) = delete;

    /// Takes its sound from `queue` from now on. The clock must have been anchored at a place before the
    /// sound of that place is queued, or it counts as late; a clock that stands still will do.
    void attach(std::shared_ptr<SoundQueue> queue, std::shared_ptr<const SharedPlayClock> clock);

    /// Falls silent; without effect when another queue is attached. The queue is not touched any more, but
    /// for one frame that may be taken just now.
    void detach(const SoundQueue& queue);

    /// Drops what has left the queue and was not heard yet. For a seek: clear the queue first, then discard,
    /// then queue the sound of the new place.
    void discard();

    /// How much too early the sound is heard, mean of the last tenth of a second; nothing while none is.
    std::optional<Seconds> offset() const;

private:
    /// What the sound comes from.
    struct Source {
        std::shared_ptr<SoundQueue> queue;
        std::shared_ptr<const SharedPlayClock> clock;
    };

    void run(const std::stop_token& stop);
    void feed(std::unique_lock<std::mutex>& lock);
    void tell_device();

    TimeSource& time_;
    MessageBoard& messages_;
    SoundOutlet outlet_;
    mutable std::mutex mutex_; ///< protects feeder_, source_, generation_, has_sound_ and lack_is_told_
    const std::unique_ptr<WakeSignal> attached_{time_.make_signal()};
    SoundFeeder feeder_{outlet_};
    Source source_;
    std::uint64_t generation_{0}; ///< what was taken from the queue in an older one is not to be heard
    bool has_sound_{false};       ///< the source has had some
    bool lack_is_told_{false};
    AudioDeviceKeeper keeper_{outlet_, time_};
    Worker thread_; ///< last, so that it ends first
};

} // namespace velmora
