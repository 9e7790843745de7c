#include "decode/sound_splitter.h"

#include "decode/opus_control_header.h"

#include <algorithm>
#include <utility>

namespace velmora {

namespace {

/// The parser of MPEG audio layer III reads every layer.
AVCodecID parser_for(AVCodecID codec) {
    return codec == AV_CODEC_ID_MP1 || codec == AV_CODEC_ID_MP2 ? AV_CODEC_ID_MP3 : codec;
}

} // namespace

SoundSplitter::SoundSplitter(AVCodecID codec) : codec_{codec} {
    if (codec != AV_CODEC_ID_OPUS) {
        context_.reset(avcodec_alloc_context3(nullptr));
        if (!context_) {
            throw std::bad_alloc{};
        }
        context_->codec_type = AVMEDIA_TYPE_AUDIO;
        context_->codec_id = codec;
    }
    flush();
}

unsigned SoundSplitter::split(std::span<const std::uint8_t> pes_payload, std::optional<Position> position,
                              const Sink& sink) {
    payload_size_ = pes_payload.size();
    payload_.resize(payload_size_ + AV_INPUT_BUFFER_PADDING_SIZE);
    const auto padding = std::copy(pes_payload.begin(), pes_payload.end(), payload_.begin());
    std::fill(padding, payload_.end(), std::uint8_t{0});
    return codec_ == AV_CODEC_ID_OPUS ? split_opus(position, sink) : split_parsed(position, sink);
}

unsigned SoundSplitter::split_opus(std::optional<Position> position, const Sink& sink) {
    auto rest = std::span<const std::uint8_t>{payload_}.first(payload_size_);
    while (!rest.empty()) {
        const auto header = read_opus_control_header(rest);
        if (!header) {
            return 1;
        }
        sink({.bytes = rest.subspan(header->header_size, header->packet_size),
              .position = position,
              .trim_at_start = header->trim_at_start,
              .trim_at_end = header->trim_at_end});
        position.reset();
        rest = rest.subspan(header->header_size + header->packet_size);
    }
    return 0;
}

unsigned SoundSplitter::split_parsed(std::optional<Position> position, const Sink& sink) {
    if (!parser_) {
        // A codec without one has a frame in each PES packet.
        sink({.bytes = std::span<const std::uint8_t>{payload_}.first(payload_size_), .position = position});
        return 0;
    }
    auto rest = std::span<const std::uint8_t>{payload_}.first(payload_size_);
    bool has_stood_still = false;
    std::int64_t timestamp = position ? position->time_since_epoch().count() : AV_NOPTS_VALUE;
    while (!rest.empty()) {
        std::uint8_t* frame = nullptr;
        int frame_size = 0;
        const int used = av_parser_parse2(parser_.get(), context_.get(), &frame, &frame_size, rest.data(),
                                          static_cast<int>(rest.size()), timestamp, AV_NOPTS_VALUE, 0);
        timestamp = AV_NOPTS_VALUE;
        const bool stands_still = used == 0 && frame_size == 0;
        if (used < 0 || (stands_still && std::exchange(has_stood_still, true))) {
            return 1; // a parser may do so once, where it finds its first frame
        }
        has_stood_still = stands_still;
        rest = rest.subspan(static_cast<std::size_t>(used));
        if (frame_size > 0) {
            sink({.bytes = {frame, static_cast<std::size_t>(frame_size)},
                  .position = parser_->pts == AV_NOPTS_VALUE ? std::nullopt
                                                             : std::optional{Position{Ticks{parser_->pts}}}});
        }
    }
    return 0;
}

void SoundSplitter::flush() {
    if (context_) {
        parser_.reset(av_parser_init(parser_for(codec_)));
    }
}

AVCodecID SoundSplitter::codec_id() const {
    return context_ ? context_->codec_id : codec_;
}

} // namespace velmora
