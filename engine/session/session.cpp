#include "session/session.h"

#include "diagnostics/log.h"
#include "file/latin1.h"

#include <cstring>
#include <exception>
#include <string>
#include <utility>

namespace velmora {

namespace {

constexpr int playback_mask = 1 << PLAYBACK_BIT;
constexpr int stream_out_mask = 1 << PLAYBACK_STREAMING_BIT;
constexpr int streaming_mask = 1 << STREAMING_BIT;
constexpr int record_mask = 1 << RECORD_BIT;
constexpr int every_mask = playback_mask | stream_out_mask | streaming_mask | record_mask;

constexpr int highest_port = 65'535;

std::string text_of(const char* field, std::size_t size) {
    return {field, ::strnlen(field, size)};
}

/// @return nothing, and a line for the developer, when there is no such direction or speed
std::optional<Tempo> tempo_of(int direction, int speed) {
    if (!is_direction(direction) || !is_speed(speed)) {
        log_incident("session", "tempo",
                     "there is no speed " + std::to_string(speed) + " in direction " +
                         std::to_string(direction) + ", ignored");
        return std::nullopt;
    }
    return Tempo{direction, speed};
}

} // namespace

Session::~Session() {
    close();
}

void Session::set_overlay(velmora_user_overlay_callback_t callback, void* user) {
    presenter_.set_overlay(callback, user);
}

void Session::set_display_size(PictureSize size) {
    presenter_.set_display_size(size);
}

void Session::set_playback(const playback_setup_t& setup) {
    const std::lock_guard lock{mutex_};
    playback_setup_ = setup;
}

int Session::start(int mask) {
    if (refuse_in_callback("start")) {
        return -1;
    }
    if ((mask & ~every_mask) != 0 || mask == 0) {
        log_incident("session", "start",
                     "of the activities of mask " + std::to_string(mask) + " some are not available");
    }
    std::optional<bool> is_started;
    const auto run = [&](int activity, auto&& begin) {
        if ((mask & activity) != 0) {
            const bool has_begun = begin();
            is_started = is_started.value_or(has_begun);
        }
    };
    run(streaming_mask, [this] { return start_view(); });
    if (is_started == false) {
        mask &= ~record_mask; // there is nothing to record, which has been said
    }
    run(playback_mask, [this] { return start_playback(); });
    run(stream_out_mask, [this] { return start_stream_out(); });
    run(record_mask, [this] { return live_.start_recording(); });
    return is_started.value_or(false) ? 0 : -1;
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
    const bool to_playback = display_owner_ == PLAYBACK_APP;
    if (view) {
        view->set_shown(!to_playback);
    }
    if (player_) {
        player_->set_tempo(to_playback ? playback_tempo_
                                       : Tempo{playback_tempo_.direction, PLAYER_SPD_PAUSE});
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

void Session::give_display_to(int owner) {
    {
        const std::lock_guard lock{mutex_};
        display_owner_ = owner;
    }
    give_display();
}

bool Session::start_playback() {
    std::shared_ptr<FilePlayer> player;
    std::shared_ptr<FilePlayer> previous;
    playback_setup_t setup{};
    {
        const std::lock_guard lock{mutex_};
        if (closed_ || !playback_setup_) {
            return false;
        }
        setup = *playback_setup_;
        const auto tempo = tempo_of(setup.direction, setup.speed);
        playback_tempo_ = tempo.value_or(Tempo{});
        FilePlayer::Setup file{text_of(setup.file_name, sizeof setup.file_name), playback_tempo_,
                               setup.is_trick_mode != 0 ? SidecarUse::kept : SidecarUse::none,
                               setup.is_cyclic != 0};
        player = std::make_shared<FilePlayer>(
            std::move(file),
            FilePlayer::Hooks{[this] { presenter_.wake(); }, [this] { audio_.discard(); },
                              [this](std::span<const std::uint8_t> unit) { data_.put(unit); },
                              [this, setup](const std::string& reason) { tell_unplayable(setup, reason); }},
            time_, messages_);
        previous = std::exchange(player_, player);
        played_ = setup;
        display_owner_ = PLAYBACK_APP;
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
        const bool is_cut = ::strnlen(setup.file_name, sizeof setup.file_name) == sizeof setup.file_name;
        tell_unplayable(setup, is_cut ? "its path is too long" : missing.what());
    } catch (const std::exception& error) {
        tell_unplayable(setup, error.what());
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
            display_owner_ = STREAMING_APP;
        }
    }
    stop_playback(player);
    if (was_current) {
        give_display();
    }
    return false;
}

/// @param reason the end of a sentence about the file
void Session::tell_unplayable(const playback_setup_t& setup, const std::string& reason) {
    const std::string path = text_of(setup.file_name, sizeof setup.file_name);
    messages_.post(MessageBoard::Severity::error, "file", "open",
                   "Cannot open the file: " + reason + " (" + shown_path(path) + ')');
}

bool Session::start_stream_out() {
    stop_stream_out();
    DatagramTarget target;
    std::shared_ptr<FilePlayer> player;
    {
        const std::lock_guard lock{mutex_};
        player = player_;
        target.ip = static_cast<std::uint32_t>(played_.ip);
        const bool is_port = played_.port > 0 && played_.port <= highest_port;
        target.port = is_port ? static_cast<std::uint16_t>(played_.port) : std::uint16_t{0};
        target.by_rtp = played_.protocol == Protocol_RTPUDP;
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

void Session::stop(int mask) {
    if (refuse_in_callback("stop")) {
        return;
    }
    if ((mask & record_mask) != 0) {
        live_.stop_recording();
    }
    if ((mask & streaming_mask) != 0) {
        stop_view();
    }
    if ((mask & (stream_out_mask | playback_mask)) != 0) {
        stop_stream_out();
    }
    if ((mask & playback_mask) != 0) {
        std::shared_ptr<FilePlayer> player;
        {
            const std::lock_guard lock{mutex_};
            player = std::exchange(player_, nullptr);
            display_owner_ = STREAMING_APP;
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
    stop(every_mask);
    return true;
}

void Session::switch_display(bool to_playback) {
    give_display_to(to_playback ? PLAYBACK_APP : STREAMING_APP);
}

std::shared_ptr<FilePlayer> Session::player() const {
    const std::lock_guard lock{mutex_};
    return player_;
}

void Session::handle_event(const playback_event_t& event) {
    const auto player = this->player();
    switch (event.event_type) {
    case SEEK_EVENT:
        if (player) {
            player->seek(Position{std::chrono::seconds{event.sec}});
        }
        break;
    case UPDATE_EVENT:
        update_playback(event);
        break;
    case PLAYBACK_TAG_EVENT:
        if (player) {
            player->mark();
        }
        break;
    case RECORD_TAG_EVENT:
        live_.mark_recording();
        break;
    default:
        log_incident("session", "event",
                     "events of type " + std::to_string(event.event_type) + " are not available, ignored");
        break;
    }
}

std::optional<int> Session::tag(int index) const {
    const auto player = this->player();
    return player ? player->tag(index) : std::nullopt;
}

void Session::update_playback(const playback_event_t& event) {
    const auto tempo = tempo_of(event.dir, event.speed);
    const std::lock_guard lock{mutex_};
    if (!player_ || !tempo) {
        return;
    }
    playback_tempo_ = *tempo;
    if (display_owner_ == PLAYBACK_APP) {
        player_->set_tempo(*tempo);
    }
}

void Session::report(velmora_info_t& info, bool reset) {
    const auto player = this->player();
    {
        const std::lock_guard lock{mutex_};
        info.active_app = display_owner_;
        if (stream_out_) {
            info.action_bit |= stream_out_mask;
            info.pb_stream_info.protocol = played_.protocol;
            info.pb_stream_info.frame_count = static_cast<std::int32_t>(stream_out_->pictures());
        }
    }
    if (player) {
        info.action_bit |= playback_mask;
        if (reset) {
            player->reset_counters();
        }
        player->report(info);
    }
    live_.report(info);
    if (!player || info.active_app == STREAMING_APP) {
        live_.report_stream(info, reset);
    }
}

} // namespace velmora
