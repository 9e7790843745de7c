#include "boundary/contract_info.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>

namespace velmora {

namespace {

constexpr std::uint64_t bytes_per_kib = 1024;

template <class Number>
std::int32_t clamped(Number number) {
    constexpr auto most = static_cast<Number>(std::numeric_limits<std::int32_t>::max());
    return static_cast<std::int32_t>(std::min(number, most));
}

std::int32_t whole_seconds(Ticks ticks) {
    return clamped(std::chrono::duration_cast<std::chrono::seconds>(ticks).count());
}

std::int32_t protocol_of(Transport transport) {
    switch (transport) {
    case Transport::udp:
        return Protocol_UDPTS;
    case Transport::rtp:
        return Protocol_RTPUDP;
    case Transport::udp_or_rtp:
        return Protocol_PRIVATE;
    case Transport::split:
        return Protocol_Split;
    case Transport::rtsp_by_udp:
        return Protocol_RTSPUDP;
    case Transport::rtsp_by_tcp:
        return Protocol_RTSPTCP;
    }
    return Protocol_PRIVATE;
}

std::int32_t state_of(PlaybackReport::State state) {
    switch (state) {
    case PlaybackReport::State::off:
        return PLAYRE_STATUS_OFF;
    case PlaybackReport::State::playing:
        return PLAYRE_STATUS_PLAYING;
    case PlaybackReport::State::pausing:
        return PLAYRE_STATUS_PAUSING;
    case PlaybackReport::State::at_end:
        return PLAYRE_STATUS_EOF;
    case PlaybackReport::State::at_start:
        return PLAYRE_STATUS_SOF;
    }
    return PLAYRE_STATUS_OFF;
}

void put_stream(velmora_info_t& info, const StreamReport& report) {
    const StreamFacts& facts = report.facts;
    info.inp_width = facts.picture.width;
    info.inp_height = facts.picture.height;
    get_stream_info& stream = info.get_strm_info;
    stream.inp_fps = facts.frame_rate;
    stream.imp_bitrate = facts.bitrate;
    stream.inp_dec_error = clamped(report.counters.errors);
    stream.inp_dec_frame = clamped(report.counters.decoded_pictures);
    stream.inp_disp_frames = clamped(report.counters.shown_pictures);
    stream.v_codec = facts.video_codec;
    stream.a_codec = facts.audio_codec;
    stream.a_sample_rate = facts.sample_rate;
    stream.a_bitrate = facts.audio_bitrate;
    stream.a_channles = facts.channels;
    stream.a_bits_per_ch = facts.bits_per_sample;
    stream.d_codec = facts.data_codec;
    stream.d_bitrate = facts.data_bitrate;
    stream.d_packets = clamped(report.counters.data_units);
}

void put_live(velmora_info_t& info, const LiveReport& live) {
    put_stream(info, live.stream);
    info.get_strm_info.imp_bitrate = live.reception.bitrate;
    info.get_strm_info.protocol = protocol_of(live.reception.transport);
    info.get_strm_info.src_ip_addr = live.reception.sender;
}

void put_playback(velmora_info_t& info, const PlaybackReport& playback) {
    player_sdx_status& player = info.player_info;
    player.state = state_of(playback.state);
    player.second = whole_seconds(playback.elapsed);
    player.direction = playback.tempo.is_reverse() ? PLAYER_DIR_PREVWARD : PLAYER_DIR_FORWARD;
    player.speed = static_cast<std::int32_t>(playback.tempo.speed);
    player.total_second = whole_seconds(playback.length);
    player.is_recording = playback.is_growing ? 1 : 0;
    player.eof = player.state == PLAYRE_STATUS_EOF ? 1 : 0;
    player.sof = player.state == PLAYRE_STATUS_SOF ? 1 : 0;
    const std::size_t size = std::min(playback.latin1_path.size(), sizeof player.full_file_name - 1);
    std::memcpy(player.full_file_name, playback.latin1_path.data(), size);
    player.full_file_name[size] = '\0';
    put_stream(info, playback.stream);
}

} // namespace

char* KeptNames::keep(const std::string& name) {
    const std::lock_guard lock{mutex_};
    // The contract's pointer is not const.
    return const_cast<char*>(
        names_.insert(name).first->c_str()); // NOLINT(cppcoreguidelines-pro-type-const-cast)
}

velmora_info_t info_of(const SessionReport& report, KeptNames& names) {
    velmora_info_t info{};
    info.active_app = report.owner == DisplayOwner::file ? PLAYBACK_APP : STREAMING_APP;
    if (report.playback) {
        info.action_bit |= 1 << PLAYBACK_BIT;
        put_playback(info, *report.playback);
    }
    if (report.is_viewing) {
        info.action_bit |= 1 << STREAMING_BIT;
    }
    if (report.live) {
        put_live(info, *report.live);
    }
    if (report.recording) {
        info.action_bit |= 1 << RECORD_BIT;
        info.record_info.file_name = names.keep(report.recording->path);
        info.record_info.kb_size = clamped(report.recording->bytes / bytes_per_kib);
        info.record_info.sec_size = clamped(report.recording->length.count());
    }
    if (report.sent_pictures) {
        info.action_bit |= 1 << PLAYBACK_STREAMING_BIT;
        info.pb_stream_info.protocol = report.is_sent_by_rtp ? Protocol_RTPUDP : Protocol_UDPTS;
        info.pb_stream_info.frame_count = clamped(*report.sent_pictures);
    }
    return info;
}

} // namespace velmora
