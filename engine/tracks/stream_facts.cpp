#include "tracks/stream_facts.h"

#include <algorithm>
#include <limits>

namespace velmora {

namespace {

std::int32_t count_since(std::uint64_t now, std::uint64_t baseline) {
    constexpr std::uint64_t most = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::min(now - std::min(now, baseline), most));
}

} // namespace

void report_stream(velmora_info_t& info, const StreamFacts& facts, const StreamCounters& counters,
                   const StreamCounters& baseline) {
    info.inp_width = facts.picture.width;
    info.inp_height = facts.picture.height;

    get_stream_info& stream = info.get_strm_info;
    stream.inp_fps = facts.frame_rate;
    stream.imp_bitrate = facts.bitrate;
    stream.inp_dec_error = count_since(counters.errors, baseline.errors);
    stream.inp_dec_frame = count_since(counters.decoded_pictures, baseline.decoded_pictures);
    stream.inp_disp_frames = count_since(counters.shown_pictures, baseline.shown_pictures);
    stream.v_codec = facts.video_codec;
    stream.a_codec = facts.audio_codec;
    stream.a_sample_rate = facts.sample_rate;
    stream.a_bitrate = facts.audio_bitrate;
    stream.a_channles = facts.channels;
    stream.a_bits_per_ch = facts.bits_per_sample;
    stream.d_codec = facts.data_codec;
    stream.d_bitrate = facts.data_bitrate;
    stream.d_packets = count_since(counters.data_units, baseline.data_units);
}

} // namespace velmora
