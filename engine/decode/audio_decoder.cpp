#include "decode/audio_decoder.h"

#include "decode/opus_control_header.h"
#include "diagnostics/log.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <utility>

extern "C" {
#include <libavutil/intreadwrite.h>
#include <libavutil/mem.h>
}

namespace velmora {

namespace {

constexpr int position_rate = Timeline::period::den;
constexpr int default_bits_per_sample = 16;
constexpr int opus_rate = 48000; // the unit of trims, Hz

Ticks duration_of(std::int64_t samples, int sample_rate) {
    return Ticks{av_rescale(samples, position_rate, sample_rate)};
}

void add_trim(AVPacket& packet, const CodedSound& coded) {
    if (coded.trim_at_start == 0 && coded.trim_at_end == 0) {
        return;
    }
    constexpr std::size_t side_data_size = 10;
    std::uint8_t* const trim = av_packet_new_side_data(&packet, AV_PKT_DATA_SKIP_SAMPLES, side_data_size);
    if (trim == nullptr) {
        throw std::bad_alloc{};
    }
    std::memset(trim, 0, side_data_size);
    AV_WL32(trim, coded.trim_at_start);
    AV_WL32(trim + 4, coded.trim_at_end);
}

} // namespace

AudioDecoder::AudioDecoder(AVCodecID codec, std::span<const std::uint8_t> extradata, int channels)
    : codec_{codec}, extradata_{extradata.begin(), extradata.end()},
      recogniser_{codec}, splitter_{codec}, packet_{make_packet()} {
    if (codec == AV_CODEC_ID_OPUS && extradata_.empty()) {
        extradata_ = make_opus_head(channels);
    }
    open(codec);
}

void AudioDecoder::open(AVCodecID codec) {
    context_.reset();
    const AVCodec* const decoder = avcodec_find_decoder(codec);
    if (decoder == nullptr || decoder->type != AVMEDIA_TYPE_AUDIO) {
        return;
    }
    CodecContext context{avcodec_alloc_context3(decoder)};
    if (!context) {
        throw std::bad_alloc{};
    }
    context->pkt_timebase = {1, position_rate};
    context->thread_count = 1;
    if (!extradata_.empty()) {
        context->extradata =
            static_cast<std::uint8_t*>(av_mallocz(extradata_.size() + AV_INPUT_BUFFER_PADDING_SIZE));
        if (context->extradata == nullptr) {
            throw std::bad_alloc{};
        }
        std::copy(extradata_.begin(), extradata_.end(), context->extradata);
        context->extradata_size = static_cast<int>(extradata_.size());
    }
    if (codec == AV_CODEC_ID_TRUEHD) {
        // Its decoder goes by the layout that it is opened with until a frame tells another one.
        av_channel_layout_default(&context->ch_layout, 2);
    }
    if (avcodec_open2(context.get(), decoder, nullptr) == 0) {
        context_ = std::move(context);
    }
}

void AudioDecoder::decode(std::span<const std::uint8_t> pes_payload, std::optional<Position> position,
                          const Sink& sink) {
    if (usable() && (!recogniser_ || recognise(pes_payload, position, sink))) {
        decode_payload(pes_payload, position, sink);
    }
}

/// @return false while the payload has to wait
bool AudioDecoder::recognise(std::span<const std::uint8_t> pes_payload, std::optional<Position> position,
                             const Sink& sink) {
    const auto codec = recogniser_->look(pes_payload);
    if (!codec) {
        held_.push_back({{pes_payload.begin(), pes_payload.end()}, position});
        return false;
    }
    recogniser_.reset();
    adopt(*codec);
    for (const HeldPayload& held : std::exchange(held_, {})) {
        decode_payload(held.bytes, held.position, sink);
    }
    return true;
}

/// Keeps the decoder where there is none for what the stream turned out to be.
void AudioDecoder::adopt(AVCodecID codec) {
    if (codec == codec_) {
        return;
    }
    CodecContext before = std::move(context_);
    open(codec);
    if (!usable()) {
        context_ = std::move(before);
        return;
    }
    log_incident("audio", "codec",
                 std::string{"the sound is "} + avcodec_get_name(codec) + ", the tables say " +
                     avcodec_get_name(codec_));
    codec_ = codec;
    splitter_ = SoundSplitter{codec};
}

void AudioDecoder::decode_payload(std::span<const std::uint8_t> pes_payload, std::optional<Position> position,
                                  const Sink& sink) {
    errors_ +=
        splitter_.split(pes_payload, position, [&](const CodedSound& coded) { decode_frame(coded, sink); });
}

void AudioDecoder::decode_frame(const CodedSound& coded, const Sink& sink) {
    if (splitter_.codec_id() != context_->codec_id) {
        CodecContext before = std::move(context_);
        open(splitter_.codec_id());
        if (!usable()) {
            context_ = std::move(before);
        }
    }
    if (coded.position) {
        base_ = *coded.position + duration_of(coded.trim_at_start, opus_rate);
        samples_since_base_ = 0;
    }
    coded_bytes_ += static_cast<std::int64_t>(coded.bytes.size());

    av_packet_unref(packet_.get());
    // Without a reference count the bytes are copied by the decoder, never written to.
    packet_->data =
        const_cast<std::uint8_t*>(coded.bytes.data()); // NOLINT(cppcoreguidelines-pro-type-const-cast)
    packet_->size = static_cast<int>(coded.bytes.size());
    add_trim(*packet_, coded);
    if (avcodec_send_packet(context_.get(), packet_.get()) < 0) {
        ++errors_;
    }
    receive_frames(sink);
}

void AudioDecoder::receive_frames(const Sink& sink) {
    for (;;) {
        AvFrame frame = make_frame();
        const int result = avcodec_receive_frame(context_.get(), frame.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) {
            return;
        }
        if (result < 0) {
            ++errors_;
            return;
        }
        if (frame->sample_rate > 0 && frame->nb_samples > 0) {
            deliver(std::move(frame), sink);
        }
    }
}

void AudioDecoder::deliver(AvFrame frame, const Sink& sink) {
    facts_.sample_rate = frame->sample_rate;
    facts_.channels = frame->ch_layout.nb_channels;
    facts_.bits_per_sample =
        context_->bits_per_raw_sample > 0 ? context_->bits_per_raw_sample : default_bits_per_sample;
    note_bit_rate(*frame);
    if (!base_) {
        return;
    }
    if (frame->sample_rate != base_rate_) {
        base_ = *base_ + (base_rate_ > 0 ? duration_of(samples_since_base_, base_rate_) : Ticks{0});
        samples_since_base_ = 0;
        base_rate_ = frame->sample_rate;
    }
    const Position position = *base_ + duration_of(samples_since_base_, base_rate_);
    samples_since_base_ += frame->nb_samples;
    sink({.frame = std::move(frame), .position = position});
}

void AudioDecoder::note_bit_rate(const AVFrame& frame) {
    decoded_samples_ += frame.nb_samples;
    const bool second_complete = decoded_samples_ >= frame.sample_rate;
    if (second_complete || facts_.kbit_per_s == 0) {
        constexpr std::int64_t bits_per_byte = 8;
        constexpr std::int64_t bits_per_kbit = 1000;
        facts_.kbit_per_s = static_cast<int>(
            av_rescale(coded_bytes_ * bits_per_byte, frame.sample_rate, decoded_samples_ * bits_per_kbit));
    }
    if (second_complete) {
        coded_bytes_ = 0;
        decoded_samples_ = 0;
    }
}

void AudioDecoder::flush() {
    splitter_.flush();
    recogniser_.emplace(codec_);
    held_.clear();
    if (context_) {
        avcodec_flush_buffers(context_.get());
    }
    base_.reset();
    samples_since_base_ = 0;
    coded_bytes_ = 0;
    decoded_samples_ = 0;
}

AVCodecID AudioDecoder::codec_id() const {
    const AVCodecID codec = context_ ? context_->codec_id : splitter_.codec_id();
    return codec == AV_CODEC_ID_AAC_LATM ? AV_CODEC_ID_AAC : codec;
}

} // namespace velmora
