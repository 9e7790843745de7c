#include "session/session.h"

#include "diagnostics/log.h"
#include "file/latin1.h"

#include <exception>
#include <string>
#include <utility>

namespace velmora {

Session::~Session() {
    close();
}

void Session::set_overlay(Overlay overlay) {
    presenter_.set_overlay(std::move(overlay));
}

void Session::set_display_size(PictureSize size) {
    presenter_.set_display_size(size);
}

void Session::set_playback(PlaybackSetup setup) {
    const std::lock_guard lock{mutex_};
    playback_setup_ = std::move(setup);
}

bool Session::start(Activities activities) {
    if (refuse_in_callback("start")) {
        return false;
    }
    std::optional<bool> is_started;
    const auto run = [&](bool is_wanted, auto&& begin) {
        if (is_wanted) {
            const bool has_begun = begin();
            is_started = is_started.value_or(has_begun);
        }
    };
    run(activities.live_view, [this] { return start_view(); });
    // Without a view there is nothing to record, which has been said.
    const bool has_source = is_started.value_or(true);
    run(activities.playback, [this] { return start_playback(); });
    run(activities.stream_out, [this] { return start_stream_out(); });
    run(activities.recording && has_source, [this] { return live_.start_recording(); });
    return is_started.value_or(false);
}

bool Session::start_view() {
    stop_view();
    {
        const std::lock_guard lock{mutex_};
        if (closed_) {
            return false;
        }
    }
    const auto view = live_.start_view();
    if (!view) {
        return false;
    }
    view->pictures()->pictures.set_on_item([this] { presenter_.wake(); });
    give_display();
    return true;
}

void Session::stop_view() {
    if (const auto view = live_.view()) {
        view->pictures()->pictures.set_on_item(nullptr);
        presenter_.detach(*view->pictures());
        audio_.detach(*view->sounds());
    }
    live_.stop_view();
}

/// Attaches the activity that has the display, and tells each whether it is seen. After return no picture of
/// the other one is delivered.
void Session::give_display() {
    attach_owner();
    presenter_.settle(); // without the lock, which the callback that is waited for may need
}

void Session::attach_owner() {
    const auto view = live_.view();
    const std::lock_guard lock{mutex_};
    const bool to_playback = display_owner_ == DisplayOwner::file;
    if (view) {
        view->set_shown(!to_playback);
    }
    if (player_) {
        player_->set_tempo(to_playback ? playback_tempo_ : Tempo{playback_tempo_.direction, Speed::pause});
    }
    if (to_playback && player_) {
        presenter_.attach(player_->pictures());
        audio_.attach(player_->sounds(), player_->clock());
    } else if (!to_playback && view) {
        presenter_.attach(view->pictures());
        audio_.attach(view->sounds(), view->sound_clock());
    } else {
        presenter_.attach(nullptr);
    }
}

void Session::give_display_to(DisplayOwner owner) {
    {
        const std::lock_guard lock{mutex_};
        display_owner_ = owner;
    }
    give_display();
}

bool Session::start_playback() {
    std::shared_ptr<FilePlayer> player;
    std::shared_ptr<FilePlayer> previous;
    PlaybackSetup setup;
    {
        const std::lock_guard lock{mutex_};
        if (closed_ || !playback_setup_) {
            return false;
        }
        setup = *playback_setup_;
        playback_tempo_ = setup.tempo;
        player = std::make_shared<FilePlayer>(
            FilePlayer::Setup{setup.latin1_path, setup.tempo, setup.sidecar, setup.repeats},
            FilePlayer::Hooks{[this] { presenter_.wake(); }, [this] { audio_.discard(); },
                              [this](std::span<const std::uint8_t> unit) { data_.put(unit); },
                              [this, path = setup.latin1_path](const std::string& reason) {
                                  report_unplayable(path, reason);
                              }},
            time_, messages_);
        previous = std::exchange(player_, player);
        played_ = setup;
        display_owner_ = DisplayOwner::file;
    }
    stop_stream_out();
    stop_playback(previous);
    player->pictures()->pictures.set_on_item([this] { presenter_.wake(); });
    bool is_ready = false;
    try {
        player->open();
        give_display();
        is_ready = player->wait_ready();
    } catch (const MissingFile& missing) {
        report_unplayable(setup.latin1_path, setup.is_path_cut ? "its path is too long" : missing.what());
    } catch (const std::exception& error) {
        report_unplayable(setup.latin1_path, error.what());
    }
    if (is_ready) {
        return true;
    }
    bool was_current = false;
    {
        const std::lock_guard lock{mutex_};
        was_current = player_ == player;
        if (was_current) {
            player_.reset();
            display_owner_ = DisplayOwner::live_view;
        }
    }
    stop_playback(player);
    if (was_current) {
        give_display();
    }
    return false;
}

/// @param reason the end of a sentence about the file
void Session::report_unplayable(const std::string& latin1_path, const std::string& reason) {
    messages_.post(MessageBoard::Severity::error, "file", "open",
                   "Cannot open the file: " + reason + " (" + shown_path(latin1_path) + ')');
}

bool Session::start_stream_out() {
    stop_stream_out();
    DatagramTarget target;
    std::shared_ptr<FilePlayer> player;
    {
        const std::lock_guard lock{mutex_};
        player = player_;
        target = played_.target;
    }
    if (!player || !player->is_ready() || target.ip == 0 || target.port == 0) {
        log_incident("out", "start",
                     "there is no file that plays or no address to send it to, nothing is sent");
        return false;
    }
    std::shared_ptr<StreamOut> stream_out;
    try {
        stream_out = std::make_shared<StreamOut>(
            StreamOut::Source{player->source(), player->index(), [player] { return player->progress(); }},
            target, time_);
    } catch (const std::exception& error) {
        log_incident("out", "start", std::string{error.what()} + ", nothing is sent");
        return false;
    }
    const std::lock_guard lock{mutex_};
    stream_out_.swap(stream_out);
    return true;
}

void Session::stop_stream_out() {
    std::shared_ptr<StreamOut> stream_out;
    const std::lock_guard lock{mutex_};
    stream_out_.swap(stream_out);
}

void Session::stop_playback(const std::shared_ptr<FilePlayer>& player) {
    if (player) {
        presenter_.detach(*player->pictures());
        audio_.detach(*player->sounds());
        player->stop();
    }
}

bool Session::refuse_in_callback(const char* operation) const {
    if (!presenter_.is_own_thread()) {
        return false;
    }
    log_incident("session", "callback",
                 std::string{operation} + " was called from inside the overlay callback, refused");
    return true;
}

void Session::stop(Activities activities) {
    if (refuse_in_callback("stop")) {
        return;
    }
    if (activities.recording) {
        live_.stop_recording();
    }
    if (activities.live_view) {
        stop_view();
    }
    if (activities.stream_out || activities.playback) {
        stop_stream_out();
    }
    if (activities.playback) {
        std::shared_ptr<FilePlayer> player;
        {
            const std::lock_guard lock{mutex_};
            player = std::exchange(player_, nullptr);
            display_owner_ = DisplayOwner::live_view;
        }
        stop_playback(player);
        give_display();
    }
}

bool Session::close() {
    if (refuse_in_callback("close")) {
        return false;
    }
    {
        const std::lock_guard lock{mutex_};
        closed_ = true;
    }
    stop(Activities::all());
    return true;
}

void Session::switch_display(bool to_playback) {
    give_display_to(to_playback ? DisplayOwner::file : DisplayOwner::live_view);
}

std::shared_ptr<FilePlayer> Session::player() const {
    const std::lock_guard lock{mutex_};
    return player_;
}

void Session::seek(Position target) {
    if (const auto player = this->player()) {
        player->seek(target);
    }
}

void Session::mark_playback() {
    if (const auto player = this->player()) {
        player->mark();
    }
}

std::optional<int> Session::tag(int index) const {
    const auto player = this->player();
    return player ? player->tag(index) : std::nullopt;
}

void Session::set_tempo(Tempo tempo) {
    const std::lock_guard lock{mutex_};
    if (!player_) {
        return;
    }
    playback_tempo_ = tempo;
    if (display_owner_ == DisplayOwner::file) {
        player_->set_tempo(tempo);
    }
}

SessionReport Session::report(bool reset) {
    SessionReport report;
    const auto player = this->player();
    {
        const std::lock_guard lock{mutex_};
        report.owner = display_owner_;
        if (stream_out_) {
            report.sent_pictures = stream_out_->pictures();
            report.is_sent_by_rtp = played_.target.by_rtp;
        }
    }
    if (player) {
        if (reset) {
            player->reset_counters();
        }
        report.playback = player->report();
    }
    report.recording = live_.recording();
    report.is_viewing = live_.view() != nullptr;
    if (!player || report.owner == DisplayOwner::live_view) {
        report.live = live_.report(reset);
    }
    return report;
}

} // namespace velmora
