// Plays one file: reads, decodes and offers pictures and sound in step with its clock.
#pragma once

#include "diagnostics/message_board.h"
#include "diagnostics/slow_decoding_report.h"
#include "file/file_growth.h"
#include "file/file_source.h"
#include "file/tag_list.h"
#include "index/access_point_finder.h"
#include "index/index_scanner.h"
#include "media/timeline.h"
#include "pacing/time_source.h"
#include "play/due_data.h"
#include "play/forward_run.h"
#include "play/play_progress.h"
#include "play/play_run.h"
#include "play/playback_status.h"
#include "play/tempo.h"
#include "present/picture_source.h"
#include "tracks/arrival_meter.h"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <stop_token>
#include <string>

namespace velmora {

/// Owns the player thread, from open to stop, and the index scanner. The commands return at once: the newest
/// of each kind wins.
///
/// Every jump is made by a forward run, which shows exactly the picture asked for; from there another run
/// takes over where the tempo asks for it.
class FilePlayer {
public:
    struct Setup {
        std::string latin1_path;
        Tempo tempo; ///< reverse begins with the last picture, also in pause
        SidecarUse sidecar{SidecarUse::none};
        bool repeats{false}; ///< at its end it begins again, in reverse at its start with the end
    };
    /// What the player needs of its surroundings; called on its thread.
    struct Hooks {
        std::function<void()> clock_changed; ///< what is due has changed
        std::function<void()> discard_sound; ///< sound handed out so far must not be heard any more
        std::function<void(std::span<const std::uint8_t>)> on_data; ///< an access unit of data is due
        std::function<void(const std::string&)> unplayable;         ///< nothing was shown, for this reason
    };

    /// @param time, messages outlive the player
    FilePlayer(Setup setup, Hooks hooks, TimeSource& time, MessageBoard& messages);
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
    /// In pause the direction stays what it was.
    void set_tempo(Tempo tempo);

    /// Marks the second that is shown.
    void mark();
    /// The marked second of this number, in order.
    std::optional<int> tag(int index) const;

    /// The file is open and something can be shown or heard; any thread.
    bool is_ready() const;
    /// What a sender of the file needs to follow; any thread.
    PlayProgress progress() const;
    /// The opened file and what is known of it; once it is ready.
    const std::shared_ptr<const FileSource>& source() const { return source_; }
    const std::shared_ptr<AccessPointIndex>& index() const { return index_; }

    /// Never waits for the player.
    PlaybackReport report() const;
    void reset_counters() { status_.reset_counters(); }

    const std::shared_ptr<PictureSource>& pictures() const { return pictures_; }
    const std::shared_ptr<SoundQueue>& sounds() const { return sounds_; }
    /// The clock of the pictures, for the sound to follow.
    std::shared_ptr<const SharedPlayClock> clock() const { return {pictures_, &pictures_->clock}; }

private:
    enum class Readiness { pending, ready, failed };
    /// How playing came to rest.
    enum class Rest { none, at_end, at_start };
    /// Asks for the last picture, wherever that is.
    static constexpr Position the_end = Position::max();

    RunOutlet make_outlet();
    void run(const std::stop_token& stop);
    bool may_grow(FileGrowth& growth) const;
    bool rests_in_pause() const;
    void wait_for_work(const std::stop_token& stop);
    bool take_commands();
    void count_decoded(std::uint64_t pictures);
    void count_errors(std::uint64_t errors);
    void note_scrambling(bool is_scrambled);
    void update_facts();
    std::optional<SteadyTime> hand_out_data();
    void set_readiness(Readiness readiness);
    void wake();

    // Runs:
    bool seek_if_wanted();
    std::optional<Position> target_of(Position wanted) const;
    void hold_at(Position position);
    void begin_forward(const DecodingStart& start, Position target);
    PlayRun& active() const;
    bool is_suited(const Tempo& tempo) const;
    void follow_tempo();
    void set_clock_rate(double rate);
    void turn(Position from, const Tempo& tempo);
    void begin_other(Position from, const Tempo& tempo);

    // Screen:
    void picture_shown(const Picture& picture);
    void picture_delivered(const Picture& picture);
    void expect_groups_around(Position position);
    void sound_begins(Position position);
    std::size_t held_bytes() const;

    // Ends:
    void follow_growth();
    void check_limit();
    bool lacks_the_last_picture() const;
    void finish_with_the_last_picture();
    bool begin_again();
    void rest(Rest rest, Position at);

    const Setup setup_;
    const Hooks hooks_;
    TimeSource& time_;
    MessageBoard& messages_;
    const std::unique_ptr<WakeSignal> changed_{time_.make_signal()}; ///< for the player thread
    const std::unique_ptr<WakeSignal> decided_{time_.make_signal()}; ///< for wait_ready
    PlaybackStatus status_;
    std::shared_ptr<PictureSource> pictures_;
    std::shared_ptr<SoundQueue> sounds_;
    std::shared_ptr<AccessPointIndex> index_;

    // The player thread only, once it runs:
    std::shared_ptr<const FileSource> source_;
    std::unique_ptr<AccessPointFinder> points_;
    std::unique_ptr<ForwardRun> forward_;
    SteadyTime start_ends_{};        ///< nothing more is awaited then of a file that is being written
    std::unique_ptr<PlayRun> other_; ///< runs instead of forward_
    std::uint64_t other_errors_{0};  ///< met by runs beside forward_
    SlowDecodingReport slow_decoding_;
    bool is_scrambled_{false}; ///< what is read, which a message says
    DueData data_;
    Tempo followed_;            ///< the tempo that the active run knows of
    Position resting_extent_{}; ///< the last picture known when playing came to rest
    bool is_finishing_{false};  ///< the last picture is brought up, which was left out

    mutable std::mutex mutex_;
    // Protected by mutex_:
    std::unique_ptr<TagList> tags_;
    std::optional<Position> wanted_position_;
    Readiness readiness_{Readiness::pending};
    std::optional<Position> last_shown_;     ///< since the last jump
    std::optional<Position> last_delivered_; ///< of these, handed over completely
    std::size_t shown_bytes_{0};             ///< of the decoded picture shown last
    PictureSize shown_size_;                 ///< of that picture, square pixels
    Tempo tempo_;
    Rest rest_{Rest::none};
    mutable ArrivalMeter data_meter_; ///< looking forgets what is old

    std::unique_ptr<IndexScanner> scanner_;
    Worker thread_;
    std::stop_source stop_;
};

} // namespace velmora
