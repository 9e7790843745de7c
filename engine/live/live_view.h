// Shows a live stream: takes packets, decodes, offers pictures and sound as early as they can be shown.
#pragma once

#include "diagnostics/slow_decoding_report.h"
#include "live/late_decoding.h"
#include "live/signal_watch.h"
#include "media/packet_block.h"
#include "pacing/jitter_clock.h"
#include "pacing/time_source.h"
#include "present/audio_out.h"
#include "present/picture_source.h"
#include "tracks/arrival_meter.h"
#include "tracks/sound_track.h"
#include "tracks/stream_facts.h"
#include "tracks/unit_sorter.h"
#include "tracks/video_track.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>

namespace velmora {

/// Owns the thread that takes the stream apart and decodes it. While it is not shown it only keeps what the
/// next picture needs, so that it is there at once when it is shown again. The commands return at once.
class LiveView {
public:
    /// What the view needs of its surroundings; called on its thread.
    struct Hooks {
        std::function<void()> clock_changed; ///< what is due has changed
        std::function<void()> discard_sound; ///< sound handed out so far must not be heard any more
        UnitSorter::DataSink on_data;        ///< an access unit of the data stream came
    };

    /// @param time, messages outlive the view
    /// @param sync_delay by which everything is shown later than it could be
    /// @param source what the stream comes from, for messages
    LiveView(std::chrono::milliseconds sync_delay, SignalWatch::Source source, TimeSource& time,
             MessageBoard& messages, Hooks hooks);
    ~LiveView();
    LiveView(const LiveView&) = delete;
    LiveView& operator=(const LiveView&) = delete;

    /// Never waits; from one thread at a time.
    void feed(SharedBlock block);
    /// Decodes, or only keeps up.
    void set_shown(bool shown);

    /// What a poll reads of the stream.
    StreamReport report();
    void reset_counters();

    const std::shared_ptr<PictureSource>& pictures() const { return pictures_; }
    const std::shared_ptr<SoundQueue>& sounds() const { return sounds_; }
    /// The clock of the sound, which may be later than that of the pictures.
    const std::shared_ptr<SharedPlayClock>& sound_clock() const { return sound_clock_; }

private:
    struct PendingVideo {
        std::optional<QueuedVideo> unit; ///< nothing: what comes next needs nothing of what was before
        SteadyTime arrived;

        std::size_t bytes() const { return unit ? unit->unit.bytes.size() : 0; }
    };
    struct PendingSound {
        QueuedSound unit;
        SteadyTime arrived;
    };

    void run(const std::stop_token& stop);
    void take_blocks();
    void take_apart(const PacketBlock& block);
    void keep(const QueuedVideo& video);
    void look_ahead(SteadyTime arrived);
    void follow_shown(bool shown);
    void bound_pending();
    void drop_to_access_point();
    void begin_again(Position wanted_from);
    bool work();
    bool decode_video();
    bool decode_sound();
    void offer_preview(Picture picture);
    bool offer_pictures();
    bool offer_sounds();
    bool is_overdue(SteadyTime decoded) const;
    void keep_up(SteadyTime arrived);
    void note_pictures(SteadyTime ready);
    void note_sound(const SoundFrame& sound, SteadyTime ready);
    void set_sound_clock();
    void take_data(const UnitSorter::DataUnit& unit);
    void update_facts();
    void watch_signal();
    void picture_shown(const Picture& picture);
    void wake() { changed_->notify(); }

    TimeSource& time_;
    const std::unique_ptr<WakeSignal> changed_{time_.make_signal()};
    const Hooks hooks_;
    const std::chrono::milliseconds sync_delay_;
    std::shared_ptr<PictureSource> pictures_{std::make_shared<PictureSource>()};
    std::shared_ptr<SoundQueue> sounds_;
    std::shared_ptr<SharedPlayClock> sound_clock_{std::make_shared<SharedPlayClock>()};

    // The view's thread only:
    UnitSorter units_;
    VideoTrack video_;
    SoundTrack sound_;
    JitterClock clock_;
    LateDecoding late_decoding_;
    SlowDecodingReport slow_decoding_;
    SignalWatch signal_;
    SignalWatch::Sight sight_; ///< but for the last picture, which the presenter notes
    SteadyTime last_video_{};  ///< when the last unit came
    SteadyTime last_sound_{};
    JitterClock sound_readiness_{JitterClock::Delay{0}};
    std::deque<PendingVideo> pending_video_;
    std::deque<PendingSound> pending_sound_;
    std::size_t pending_bytes_{0};
    std::deque<QueuedVideo> kept_; ///< since the last access point, to begin with when it is shown again
    std::size_t kept_bytes_{0};
    std::uint64_t stream_offset_{0}; ///< bytes taken so far
    SteadyTime ready_at_{};          ///< when the pictures decoded last could be ready
    std::optional<SteadyTime> sound_origin_;
    bool last_was_key_{false}; ///< the picture that was decoded last
    bool looked_ahead_{false}; ///< the end of a group was found in front of the unit in progress
    bool was_full_{false};     ///< decoding waited for room, not for the stream
    bool is_shown_{false};     ///< what the thread has followed
    bool offered_{false};      ///< a picture since the beginning or the last jump

    std::mutex mutex_;
    // Protected by mutex_:
    std::deque<SharedBlock> blocks_;
    std::size_t block_bytes_{0};
    bool blocks_dropped_{false};
    bool shown_wanted_{false};
    bool has_shown_{false};                ///< a picture was shown: errors count from here
    std::optional<SteadyTime> last_shown_; ///< since the view is on the screen
    bool shows_old_{false};                ///< the next picture ends a message
    SteadyTime video_seen_{};              ///< last_video_ and last_sound_, for who asks for the figures
    SteadyTime sound_seen_{};
    ArrivalMeter data_meter_;
    StreamFacts facts_;
    StreamCounters counters_;
    StreamCounters baseline_;

    Worker thread_; ///< last, so that it ends first
};

} // namespace velmora
