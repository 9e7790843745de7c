#include "session/session.h"

#include "diagnostics/log.h"

#include <cstring>
#include <exception>
#include <string>
#include <utility>

namespace velmora {

namespace {

constexpr int playback_mask = 1 << PLAYBACK_BIT;

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
    if ((mask & playback_mask) == 0) {
        log_incident("session", "start",
                     "activities of mask " + std::to_string(mask) + " are not available, nothing started");
        return -1;
    }
    if (refuse_in_callback("start")) {
        return -1;
    }
    if (mask != playback_mask) {
        log_incident("session", "start",
                     "of the activities of mask " + std::to_string(mask) +
                         " only file playback is available");
    }
    return start_playback();
}

int Session::start_playback() {
    std::shared_ptr<FilePlayer> player;
    std::shared_ptr<FilePlayer> previous;
    {
        const std::lock_guard lock{mutex_};
        if (closed_ || !playback_setup_) {
            return -1;
        }
        const playback_setup_t& setup = *playback_setup_;
        const auto tempo = tempo_of(setup.direction, setup.speed);
        FilePlayer::Setup file{text_of(setup.file_name, sizeof setup.file_name), tempo.value_or(Tempo{}),
                               setup.is_trick_mode != 0 ? SidecarUse::kept : SidecarUse::none};
        player = std::make_shared<FilePlayer>(
            std::move(file), FilePlayer::Hooks{[this] { presenter_.wake(); }, [this] { audio_.discard(); }});
        previous = std::exchange(player_, player);
        display_owner_ = PLAYBACK_APP;
    }
    stop_playback(previous);
    player->pictures()->pictures.set_on_item([this] { presenter_.wake(); });
    bool is_ready = false;
    try {
        player->open();
        {
            const std::lock_guard lock{mutex_};
            if (player_ == player) {
                presenter_.attach(player->pictures());
                audio_.attach(player->sounds(), player->clock());
            }
        }
        is_ready = player->wait_ready();
    } catch (const std::exception& error) {
        const std::lock_guard lock{mutex_};
        log_incident("file", "open",
                     text_of(playback_setup_->file_name, sizeof playback_setup_->file_name) + ' ' +
                         error.what());
    }
    if (is_ready) {
        return 0;
    }
    {
        const std::lock_guard lock{mutex_};
        if (player_ == player) {
            player_.reset();
            display_owner_ = STREAMING_APP;
        }
    }
    stop_playback(player);
    return -1;
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
    if ((mask & playback_mask) == 0 || refuse_in_callback("stop")) {
        return;
    }
    std::shared_ptr<FilePlayer> player;
    {
        const std::lock_guard lock{mutex_};
        player = std::exchange(player_, nullptr);
        display_owner_ = STREAMING_APP;
    }
    stop_playback(player);
}

bool Session::close() {
    if (refuse_in_callback("close")) {
        return false;
    }
    {
        const std::lock_guard lock{mutex_};
        closed_ = true;
    }
    stop(playback_mask);
    return true;
}

void Session::switch_display(bool to_playback) {
    const std::lock_guard lock{mutex_};
    display_owner_ = to_playback ? PLAYBACK_APP : STREAMING_APP;
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
    const auto player = this->player();
    if (!player) {
        return;
    }
    if (const auto tempo = tempo_of(event.dir, event.speed)) {
        player->set_tempo(*tempo);
    }
}

void Session::report(velmora_info_t& info, bool reset) {
    const auto player = this->player();
    {
        const std::lock_guard lock{mutex_};
        info.active_app = display_owner_;
    }
    if (!player) {
        return;
    }
    info.action_bit |= playback_mask;
    if (reset) {
        player->reset_counters();
    }
    player->report(info);
}

} // namespace velmora
