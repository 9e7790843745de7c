#include "file/playback_board.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>

namespace velmora {

namespace {

std::int32_t whole_seconds(Ticks ticks) {
    return static_cast<std::int32_t>(std::chrono::duration_cast<std::chrono::seconds>(ticks).count());
}

std::int32_t count_since(std::uint64_t now, std::uint64_t baseline) {
    constexpr std::uint64_t most = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::min(now - baseline, most));
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

    info.inp_width = facts_.picture.width;
    info.inp_height = facts_.picture.height;

    get_stream_info& stream = info.get_strm_info;
    stream.inp_fps = facts_.frame_rate;
    stream.imp_bitrate = facts_.bitrate;
    stream.inp_dec_error = count_since(counters_.errors, baseline_.errors);
    stream.inp_dec_frame = count_since(counters_.decoded_pictures, baseline_.decoded_pictures);
    stream.inp_disp_frames = count_since(counters_.shown_pictures, baseline_.shown_pictures);
    stream.v_codec = facts_.video_codec;
    stream.a_codec = facts_.audio_codec;
    stream.a_sample_rate = facts_.sample_rate;
    stream.a_bitrate = facts_.audio_bitrate;
    stream.a_channles = facts_.channels;
    stream.a_bits_per_ch = facts_.bits_per_sample;
    stream.d_codec = facts_.data_codec;
    stream.d_packets = count_since(counters_.data_units, baseline_.data_units);
}

void PlaybackBoard::reset_counters() {
    const std::lock_guard lock{mutex_};
    baseline_ = counters_;
}

} // namespace velmora
