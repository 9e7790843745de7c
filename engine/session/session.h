// One engine session: everything that runs between open and close.
#pragma once

#include "data/data_outlet.h"
#include "diagnostics/message_board.h"
#include "live/live_channel.h"
#include "out/stream_out.h"
#include "pacing/time_source.h"
#include "play/file_player.h"
#include "present/audio_out.h"
#include "present/presenter.h"
#include "session/playback_setup.h"
#include "session/session_report.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace velmora {

/// What can be started and stopped.
struct Activities {
    bool playback{false};   ///< a file plays
    bool stream_out{false}; ///< that is sent out
    bool live_view{false};
    bool recording{false}; ///< of what is received

    static constexpr Activities all() { return {true, true, true, true}; }
};

/// Owns presenter, sound and activities, and says which activity has the display: a played file takes it and
/// gives it back when it ends. All operations may be called from any thread; stopping and closing from inside
/// the overlay callback is refused. Only starting playback waits for media work.
class Session {
public:
    /// @param time outlives the session
    explicit Session(TimeSource& time) : time_{time} {}
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// @param overlay called on the presenter's thread; null for nobody
    void set_overlay(Overlay overlay);
    void set_display_size(PictureSize size);
    void set_playback(PlaybackSetup setup);
    void set_streaming(StreamingSetup setup) { live_.set_streaming(std::move(setup)); }
    void set_recording(RecorderSetup setup) { live_.set_recording(std::move(setup)); }
    /// From now on, of what is viewed and of what is played.
    void set_data(const DataTargets& targets) { data_.set(targets); }
    /// @return started: of live view or playback together with others, the first one was
    bool start(Activities activities);
    void stop(Activities activities);
    /// Ends everything; a start in progress returns. Nothing can be started afterwards.
    /// @return false when refused
    bool close();
    /// Gives the display to file playback (true) or live view. A file that loses it pauses, a live view goes
    /// on unseen.
    void switch_display(bool to_playback);
    /// Without a file that plays, the commands to one have no effect.
    void seek(Position target);
    void set_tempo(Tempo tempo);
    /// Marks the second that is shown of the file.
    void mark_playback();
    void mark_recording() { live_.mark_recording(); }
    /// Position of a tag of the played file, seconds; nothing behind the last one.
    std::optional<int> tag(int index) const;
    /// Never waits.
    /// @param reset counts from zero
    SessionReport report(bool reset);
    /// For events that are met before a session knows of them. Any thread.
    MessageBoard& messages() { return messages_; }
    /// The newest message for the user; nothing when there has been none. Never waits.
    std::optional<MessageBoard::Message> message() const { return messages_.newest(); }

private:
    bool start_playback();
    void stop_playback(const std::shared_ptr<FilePlayer>& player);
    void report_unplayable(const std::string& latin1_path, const std::string& reason);
    bool start_stream_out();
    void stop_stream_out();
    bool start_view();
    void stop_view();
    bool refuse_in_callback(const char* operation) const;
    std::shared_ptr<FilePlayer> player() const;
    void give_display();
    void attach_owner();
    void give_display_to(DisplayOwner owner);

    TimeSource& time_;
    MessageBoard messages_{time_}; ///< first: everything below may say something until it ends
    DataOutlet data_;
    Presenter presenter_{time_};
    AudioOut audio_{time_, messages_};
    LiveChannel live_{time_,
                      messages_,
                      {.clock_changed = [this] { presenter_.wake(); },
                       .discard_sound = [this] { audio_.discard(); },
                       .on_data = [this](const UnitSorter::DataUnit& unit) { data_.put(unit.bytes); }}};

    mutable std::mutex mutex_; ///< held for moments only, never while media work is done
    // Protected by mutex_:
    std::shared_ptr<FilePlayer> player_;
    PlaybackSetup played_;                        ///< what player_ was started with
    std::optional<PlaybackSetup> playback_setup_; ///< for the next start
    std::shared_ptr<StreamOut> stream_out_;       ///< of player_
    Tempo playback_tempo_;                        ///< wanted, also while the file has lost the display
    DisplayOwner display_owner_{DisplayOwner::live_view};
    bool closed_{false};
};

} // namespace velmora
