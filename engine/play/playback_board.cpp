#include "play/playback_board.h"

#include <algorithm>
#include <chrono>
#include <cstring>

namespace velmora {

namespace {

std::int32_t whole_seconds(Ticks ticks) {
    return static_cast<std::int32_t>(std::chrono::duration_cast<std::chrono::seconds>(ticks).count());
}

std::int32_t state_of(const PlaybackFacts& facts) {
    if (!facts.running) {
        return PLAYRE_STATUS_OFF;
    }
    if (facts.at_end) {
        return PLAYRE_STATUS_EOF;
    }
    if (facts.at_start) {
        return PLAYRE_STATUS_SOF;
    }
    return facts.tempo.is_paused() ? PLAYRE_STATUS_PAUSING : PLAYRE_STATUS_PLAYING;
}

} // namespace

void PlaybackBoard::report(velmora_info_t& info, Position position, Ticks length) const {
    const std::lock_guard lock{mutex_};
    player_sdx_status& player = info.player_info;
    player.state = state_of(facts_);
    const Ticks elapsed = facts_.at_end ? length : position.time_since_epoch();
    player.second = whole_seconds(std::clamp(elapsed, Ticks{0}, std::max(Ticks{0}, length)));
    player.direction = facts_.tempo.direction;
    player.speed = facts_.tempo.speed;
    player.total_second = whole_seconds(length);
    player.eof = facts_.at_end ? 1 : 0;
    player.sof = facts_.at_start ? 1 : 0;
    const std::size_t path_size = std::min(path_.size(), sizeof player.full_file_name - 1);
    std::memcpy(player.full_file_name, path_.data(), path_size);
    player.full_file_name[path_size] = '\0';

    report_stream(info, facts_.stream, counters_, baseline_);
}

void PlaybackBoard::reset_counters() {
    const std::lock_guard lock{mutex_};
    baseline_ = counters_;
}

} // namespace velmora
