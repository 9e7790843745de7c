// What a way of playing needs of the player it works for.
#pragma once

#include "media/timeline.h"
#include "pacing/time_source.h"
#include "present/audio_out.h"
#include "present/picture_source.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace velmora {

/// One way of bringing pictures to the screen: forward, by key pictures, in reverse. Works on the player's
/// thread only; what it offers goes to the queues.
class PlayRun {
public:
    PlayRun() = default;
    virtual ~PlayRun() = default;
    PlayRun(const PlayRun&) = delete;
    PlayRun& operator=(const PlayRun&) = delete;

    /// Does a piece of work.
    /// @return false when there is nothing to do until something changes
    virtual bool work() = 0;
    /// Where playing ends, once everything in front of it has been offered.
    virtual std::optional<Position> limit() const = 0;
    /// The picture offered last.
    virtual std::optional<Position> last_offered() const = 0;
    /// @param magnitude of the rate, 0 in pause
    virtual void set_magnitude(double magnitude) = 0;
};

/// The queues that a run fills, and whom it tells of its progress; all called on the player's thread.
struct RunOutlet {
    TimeSource& time; ///< outlives the run
    std::shared_ptr<PictureSource> pictures;
    std::shared_ptr<SoundQueue> sounds;
    std::function<void()> discard_sound;        ///< sound handed out so far must not be heard any more
    std::function<void()> ready;                ///< the first picture, or sound of a file without, is offered
    std::function<void(Position)> sound_begins; ///< of a file without pictures: the clock may run
    std::function<void(Position)> nothing_beyond; ///< nothing at or behind the wanted position can be shown
    std::function<void()> facts_changed;
    std::function<void(std::uint64_t)> decoded; ///< so many more pictures
    std::function<void(std::uint64_t)> failed;  ///< so many more errors, of a run beside the forward run
    std::function<void(bool)> keeps_up;         ///< or leaves pictures out since decoding is late
};

} // namespace velmora
