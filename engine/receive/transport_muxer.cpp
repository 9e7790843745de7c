#include "receive/transport_muxer.h"

#include "diagnostics/log.h"
#include "ts/access_point.h"
#include "ts/ts_packet.h"

#include <algorithm>
#include <new>
#include <span>
#include <stdexcept>
#include <utility>

namespace velmora {

namespace {

constexpr int tables_interval_ms = 100;
constexpr int clock_interval_ms = 40;
/// How far the stream's clock is ahead of what is to be decoded.
constexpr std::int64_t clock_lead_us = 100'000;
constexpr unsigned table_versions = 32;
constexpr unsigned first_pid = 0x100;

bool has_a_place(const AVCodecParameters& parameters) {
    switch (parameters.codec_id) {
    case AV_CODEC_ID_H264:
    case AV_CODEC_ID_HEVC:
    case AV_CODEC_ID_MPEG1VIDEO:
    case AV_CODEC_ID_MPEG2VIDEO:
    case AV_CODEC_ID_MPEG4:
    case AV_CODEC_ID_MP2:
    case AV_CODEC_ID_MP3:
    case AV_CODEC_ID_AAC:
    case AV_CODEC_ID_AAC_LATM:
    case AV_CODEC_ID_AC3:
    case AV_CODEC_ID_EAC3:
    case AV_CODEC_ID_OPUS:
    case AV_CODEC_ID_SMPTE_KLV:
    case AV_CODEC_ID_BIN_DATA:
        return true;
    default:
        return false;
    }
}

std::string seconds_text(int milliseconds) {
    return std::to_string(milliseconds) + "ms";
}

} // namespace

TransportMuxer::TransportMuxer(const AVFormatContext& source, unsigned run) {
    AVFormatContext* format = nullptr;
    if (avformat_alloc_output_context2(&format, nullptr, "mpegts", nullptr) < 0) {
        throw std::bad_alloc{};
    }
    format_.reset(format);
    constexpr int buffer_size = static_cast<int>(ts_packet_size) * 64;
    auto* const buffer = static_cast<std::uint8_t*>(av_malloc(buffer_size));
    if (buffer == nullptr) {
        throw std::bad_alloc{};
    }
    io_.reset(avio_alloc_context(buffer, buffer_size, 1, this, nullptr, keep, nullptr));
    if (!io_) {
        av_free(buffer);
        throw std::bad_alloc{};
    }
    format_->pb = io_.get();
    format_->max_delay = clock_lead_us;
    format_->flags |= AVFMT_FLAG_FLUSH_PACKETS;
    for (unsigned i = 0; i < source.nb_streams; ++i) {
        add_stream(*source.streams[i]);
    }
    if (format_->nb_streams == 0) {
        throw std::runtime_error("the source has no stream that can be played");
    }
    FormatOptions options;
    options.set("mpegts_flags", "initial_discontinuity");
    options.set("tables_version", run % table_versions);
    options.set("pat_period", seconds_text(tables_interval_ms));
    options.set("pcr_period", clock_interval_ms);
    options.set("pes_payload_size", 0);
    options.set("mpegts_start_pid", static_cast<int>(first_pid));
    if (const int error = avformat_write_header(format_.get(), options.get()); error < 0) {
        throw std::runtime_error("the source's streams cannot be muxed: " + error_text(error));
    }
}

void TransportMuxer::add_stream(const AVStream& stream) {
    Track& track = tracks_[stream.index];
    track.time_base = stream.time_base;
    track.codec = stream.codecpar->codec_id;
    track.assembler = PictureAssembler{track.codec};
    track.is_video = stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO;
    if (!has_a_place(*stream.codecpar)) {
        log_incident("live", "stream left out",
                     std::string{"a stream of codec "} + avcodec_get_name(stream.codecpar->codec_id) +
                         " is left out");
        return;
    }
    AVStream* const output = avformat_new_stream(format_.get(), nullptr);
    if (output == nullptr || avcodec_parameters_copy(output->codecpar, stream.codecpar) < 0) {
        throw std::bad_alloc{};
    }
    output->codecpar->codec_tag = 0;
    if (output->codecpar->codec_type == AVMEDIA_TYPE_AUDIO && output->codecpar->sample_rate == 0) {
        constexpr int any_rate = 48000; // the muxer asks for one and writes none
        output->codecpar->sample_rate = any_rate;
    }
    if (output->codecpar->codec_id == AV_CODEC_ID_SMPTE_KLV) {
        // Reading took the header of synchronous metadata away.
        output->codecpar->profile = FF_PROFILE_KLVA_ASYNC;
    }
    track.output = output->index;
}

bool TransportMuxer::knows(const AVPacket& packet) const {
    return tracks_.contains(packet.stream_index);
}

void TransportMuxer::write(AVPacket& packet, RemuxClock& clock, SteadyTime now) {
    Track& track = tracks_.at(packet.stream_index);
    if (track.output < 0) {
        return;
    }
    // Within a transport stream pictures come whole, and with both times.
    if (!track.is_video || packet.dts != AV_NOPTS_VALUE) {
        write_unit(packet, track, clock, now);
    } else if (const AvPacket picture = track.assembler.feed(packet)) {
        write_unit(*picture, track, clock, now);
    }
}

void TransportMuxer::write_unit(AVPacket& unit, Track& track, RemuxClock& clock, SteadyTime now) {
    const std::span<const std::uint8_t> bytes{unit.data, static_cast<std::size_t>(unit.size)};
    if (find_access_point(track.codec, bytes, true).verdict == AccessPointVerdict::point) {
        unit.flags |= AV_PKT_FLAG_KEY;
    }
    if ((unit.flags & AV_PKT_FLAG_CORRUPT) != 0) {
        ++damaged_;
        ++counter_shifts_[first_pid + static_cast<unsigned>(track.output)];
    }
    stamp(unit, track, clock, now);
    const std::size_t begin = packets_.size();
    if (const int error = av_write_frame(format_.get(), &unit); error < 0) {
        log_incident("live", "muxing", "a received packet was left out: " + error_text(error));
    }
    shift_counters(begin);
}

void TransportMuxer::shift_counters(std::size_t begin) {
    for (std::size_t at = begin; at + ts_packet_size <= packets_.size(); at += ts_packet_size) {
        const std::span packet{packets_.data() + at, ts_packet_size};
        const auto shift = counter_shifts_.find((packet[1] & 0x1FU) << 8U | packet[2]);
        if (shift != counter_shifts_.end()) {
            packet[3] =
                static_cast<std::uint8_t>((packet[3] & 0xF0U) | ((packet[3] + shift->second) & 0x0FU));
        }
    }
}

void TransportMuxer::stamp(AVPacket& unit, Track& track, RemuxClock& clock, SteadyTime now) {
    const auto in_ticks = [&](std::int64_t time) {
        return Ticks{av_rescale_q(time, track.time_base, {1, Ticks::period::den})};
    };
    const bool has_times = unit.pts != AV_NOPTS_VALUE;
    const Ticks presentation =
        has_times ? clock.map(unit.stream_index, in_ticks(unit.pts), now) : clock.due(now);
    Ticks decoding = presentation;
    if (has_times && unit.dts != AV_NOPTS_VALUE) {
        decoding -= in_ticks(unit.pts) - in_ticks(unit.dts);
    } else if (has_times && track.is_video) {
        decoding = track.decoding_times.next(presentation);
    }
    // A source may step back a little when it learns how its streams belong together.
    decoding = std::max(decoding, track.last_decode + Ticks{1});
    track.last_decode = decoding;
    unit.dts = decoding.count();
    unit.pts = std::max(presentation, decoding).count();
    unit.duration = 0;
    unit.pos = -1;
    unit.stream_index = track.output;
}

int TransportMuxer::keep(void* self, std::uint8_t* bytes, int size) noexcept {
    auto& packets = static_cast<TransportMuxer*>(self)->packets_;
    try {
        packets.insert(packets.end(), bytes, bytes + size);
        return size;
    } catch (const std::bad_alloc&) {
        return AVERROR(ENOMEM);
    }
}

std::vector<std::uint8_t> TransportMuxer::take_packets() {
    return std::exchange(packets_, {});
}

} // namespace velmora
