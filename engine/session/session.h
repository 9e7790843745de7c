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
#include "velmoraapi.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace velmora {

/// Owns presenter, sound and activities, and says which activity has the display: a played file takes it and
/// gives it back when it ends. All operations may be called from any thread; stopping and closing from inside
/// the overlay callback is refused. Only start(1) waits for media work.
class Session {
public:
    /// @param time outlives the session
    explicit Session(TimeSource& time) : time_{time} {}
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void set_overlay(velmora_user_overlay_callback_t callback, void* user);
    void set_display_size(PictureSize size);
    void set_playback(const playback_setup_t& setup);
    void set_streaming(const streaming_setup_t& setup) { live_.set_streaming(setup); }
    void set_recording(const record_setup_t& setup) { live_.set_recording(setup); }
    /// From now on, of what is viewed and of what is played.
    void set_data(const data_setup_t& setup) { data_.set(setup); }
    /// @param mask of 1 << ACTION_BIT
    /// @return 0 when started: of live view or playback together with others, when the first one was
    int start(int mask);
    void stop(int mask);
    /// Ends everything; a start in progress returns. Nothing can be started afterwards.
    /// @return false when refused
    bool close();
    /// Gives the display to file playback (true) or live view. A file that loses it pauses, a live view goes
    /// on unseen.
    void switch_display(bool to_playback);
    void handle_event(const playback_event_t& event);
    /// Position of a tag of the played file, seconds; nothing behind the last one.
    std::optional<int> tag(int index) const;
    void report(velmora_info_t& info, bool reset);
    /// The newest message for the user; nothing when there has been none. Never waits.
    std::optional<MessageBoard::Message> message() const { return messages_.newest(); }

private:
    bool start_playback();
    void stop_playback(const std::shared_ptr<FilePlayer>& player);
    void tell_unplayable(const playback_setup_t& setup, const std::string& reason);
    bool start_stream_out();
    void stop_stream_out();
    bool start_view();
    void stop_view();
    bool refuse_in_callback(const char* operation) const;
    std::shared_ptr<FilePlayer> player() const;
    void update_playback(const playback_event_t& event);
    void give_display();
    void attach_owner();
    void give_display_to(int owner);

    TimeSource& time_;
    MessageBoard messages_{time_}; ///< first: everything below may say something until it ends
    DataOutlet data_{messages_};
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
    playback_setup_t played_{};                      ///< what player_ was started with
    std::optional<playback_setup_t> playback_setup_; ///< for the next start
    std::shared_ptr<StreamOut> stream_out_;          ///< of player_
    Tempo playback_tempo_;                           ///< wanted, also while the file has lost the display
    int display_owner_{STREAMING_APP};
    bool closed_{false};
};

} // namespace velmora
