// Plays one file: reads, decodes and offers pictures and sound in step with its clock.
#pragma once

#include "file/file_source.h"
#include "file/playback_board.h"
#include "file/sound_track.h"
#include "file/stream_feed.h"
#include "file/video_track.h"
#include "index/access_point_index.h"
#include "index/bisector.h"
#include "index/index_scanner.h"
#include "media/timeline.h"
#include "present/picture_source.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>

namespace velmora {

/// Owns the player thread, from open to stop, and the index scanner. The commands return at once: the newest
/// of each kind wins.
class FilePlayer {
public:
    struct Setup {
        std::string latin1_path;
        bool paused{false}; ///< show the first picture and wait
    };
    /// What the player needs of its surroundings; called on its thread.
    struct Hooks {
        std::function<void()> clock_changed; ///< what is due has changed
        std::function<void()> discard_sound; ///< sound handed out so far must not be heard any more
    };

    FilePlayer(Setup setup, Hooks hooks);
    ~FilePlayer();
    FilePlayer(const FilePlayer&) = delete;
    FilePlayer& operator=(const FilePlayer&) = delete;

    /// Opens the file and begins to decode, on the caller's thread.
    /// @throws UnplayableFile
    void open();
    /// Waits until the first picture, or sound of a file without pictures, is offered.
    /// @return false when there is none or stop() was called
    bool wait_ready();
    /// Ends playing; wakes wait_ready. Idempotent, from any thread but the player's own.
    void stop();

    void seek(Position target);
    void set_paused(bool paused);

    /// Fills the parts of `info` that belong to file playback; never waits for the player.
    void report(velmora_info_t& info) const;
    void reset_counters() { board_.reset_counters(); }

    const std::shared_ptr<PictureSource>& pictures() const { return pictures_; }
    const std::shared_ptr<SoundQueue>& sounds() const { return sounds_; }
    /// The clock of the pictures, for the sound to follow.
    std::shared_ptr<const SharedPlayClock> clock() const { return {pictures_, &pictures_->clock}; }

private:
    enum class Readiness { pending, ready, failed };
    /// What is tried, in this order, until something can be shown or heard.
    enum class Approach { from_access_point, from_anywhere, sound_only };

    void run(const std::stop_token& stop);
    void wait_for_work(const std::stop_token& stop);
    bool take_commands();
    void begin_seek(Position wanted, Position target, const std::optional<AccessPoint>& point);
    std::optional<AccessPoint> find_unscanned(Position target);
    void restart_tracks(const std::optional<AccessPoint>& point, Position target);
    bool work();
    void offer_preview(Picture picture);
    bool offer_pictures();
    bool offer_sounds();
    bool needs_more() const;
    bool step_back_from(const Picture& first);
    bool step_back();
    bool finish_tracks();
    void end_at_target();
    void try_next_approach();
    bool sound_only() const;
    void begin_run_with_sound(Position position);
    std::optional<Position> end_position() const;
    void check_end();
    void update_facts();
    void set_readiness(Readiness readiness);
    void picture_shown(const Picture& picture);
    void wake();

    const Setup setup_;
    const Hooks hooks_;
    PlaybackBoard board_;
    std::shared_ptr<PictureSource> pictures_;
    std::shared_ptr<SoundQueue> sounds_;
    std::shared_ptr<AccessPointIndex> index_;

    // The player thread only, once it runs:
    std::shared_ptr<const FileSource> source_;
    std::unique_ptr<StreamFeed> feed_;
    std::unique_ptr<Bisector> bisector_;
    std::optional<Position> not_bisected_; ///< a target that waits for the scan
    VideoTrack video_;
    SoundTrack sound_;
    Approach approach_{Approach::from_access_point};
    std::optional<AccessPoint> started_at_; ///< where decoding of the present run began
    Position target_{};                     ///< first position that the present run wants
    int steps_back_{0};
    bool run_offered_{false}; ///< the present run has offered its first picture or sound
    bool tracks_finished_{false};
    std::optional<Position> last_offered_; ///< picture

    mutable std::mutex mutex_;
    std::condition_variable_any changed_;
    // Protected by mutex_:
    std::optional<Position> wanted_position_;
    Readiness readiness_{Readiness::pending};
    std::optional<Position> last_shown_;
    bool paused_;
    bool run_begun_{false}; ///< the clock follows the present run
    bool ended_{false};
    bool woken_{false};

    std::unique_ptr<IndexScanner> scanner_;
    std::jthread thread_;
    std::stop_source stop_;
};

} // namespace velmora
