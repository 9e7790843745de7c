#include "decode/video_decoder.h"

#include "decode/access_unit.h"
#include "diagnostics/log.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

namespace velmora {

namespace {

/// Up to this many pixels per second one thread decodes in time, with the least delay and work.
constexpr double one_thread_pixel_rate = 1920.0 * 1088.0 * 31.0;
constexpr double assumed_frame_rate = 25.0;
constexpr double deepest_reordering = 8.0;
constexpr double highest_frame_rate = 240.0;
constexpr int most_threads = 4;
/// From so many pixels, and for so long a way to the first wanted picture, more threads pay.
constexpr int large_picture = 1280 * 720;
constexpr Ticks long_way = std::chrono::milliseconds{300};
constexpr int hurrying_threads = 2;

std::int64_t ticks_or_none(std::optional<Position> position) {
    return position ? position->time_since_epoch().count() : AV_NOPTS_VALUE;
}

CodecParser make_parser(AVCodecID codec) {
    CodecParser parser{av_parser_init(codec)};
    if (!parser) {
        throw std::runtime_error{std::string{"no parser for "} + avcodec_get_name(codec)};
    }
    return parser;
}

CodecContext make_context(AVCodecID codec) {
    const AVCodec* const decoder = avcodec_find_decoder(codec);
    if (decoder == nullptr) {
        throw std::runtime_error{std::string{"no decoder for "} + avcodec_get_name(codec)};
    }
    CodecContext context{avcodec_alloc_context3(decoder)};
    if (!context) {
        throw std::bad_alloc{};
    }
    context->pkt_timebase = AVRational{Timeline::period::num, static_cast<int>(Timeline::period::den)};
    return context;
}

} // namespace

VideoDecoder::VideoDecoder(AVCodecID codec, TimeSource& time)
    : codec_id_{codec}, context_{make_context(codec)}, parser_{make_parser(codec)}, packet_{make_packet()},
      time_{time} {}

void VideoDecoder::accept_damaged_start() {
    context_->flags |= AV_CODEC_FLAG_OUTPUT_CORRUPT;
    context_->flags2 |= AV_CODEC_FLAG2_SHOW_ALL;
}

void VideoDecoder::expect_whole_units() {
    expects_whole_units_ = true;
    parser_->flags |= PARSER_FLAG_COMPLETE_FRAMES;
    context_->thread_type = FF_THREAD_SLICE;
    load_.emplace();
}

void VideoDecoder::check_wholeness(std::span<const std::uint8_t> unit, bool has_time) {
    if (!expects_whole_units_ || (has_time && is_one_access_unit(codec_id_, unit))) {
        return;
    }
    expects_whole_units_ = false;
    parser_->flags &= ~PARSER_FLAG_COMPLETE_FRAMES;
    log_incident("video", "units", "a PES packet is not one access unit, pictures come one interval later");
}

void VideoDecoder::decode(VideoUnit unit, Position wanted_from, const Sink& sink) {
    const std::size_t size = unit.bytes.size() - unit.payload_start;
    check_wholeness(std::span{unit.bytes}.subspan(unit.payload_start), unit.presentation.has_value());
    // Parsers and decoders read a little beyond what they are given.
    unit.bytes.resize(unit.bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE);
    parse(unit.bytes.data() + unit.payload_start, static_cast<int>(size), unit.presentation, unit.decode,
          wanted_from, sink);
}

void VideoDecoder::finish(Position wanted_from, const Sink& sink) {
    parse(nullptr, 0, std::nullopt, std::nullopt, wanted_from, sink);
    if (is_open_) {
        send(nullptr, sink);
        avcodec_flush_buffers(context_.get());
    }
    is_flushed_ = true;
    renew_parser();
    skip_ = std::exchange(skip_from_key_, std::nullopt).value_or(skip_);
}

void VideoDecoder::bring_out(const Sink& sink) {
    if (is_open_ && expects_whole_units_) {
        send(nullptr, sink);
        avcodec_flush_buffers(context_.get());
    }
}

void VideoDecoder::renew_parser() {
    parser_ = make_parser(codec_id_);
    if (expects_whole_units_) {
        parser_->flags |= PARSER_FLAG_COMPLETE_FRAMES;
    }
}

void VideoDecoder::flush() {
    preview_ = nullptr;
    if (is_open_) {
        avcodec_flush_buffers(context_.get());
    }
    is_flushed_ = true;
    renew_parser();
    skip_ = std::exchange(skip_from_key_, std::nullopt).value_or(skip_);
}

void VideoDecoder::set_skip(AVDiscard skip) {
    if (skip < skip_ && skip_ > AVDISCARD_NONREF) {
        skip_from_key_ = skip;
    } else {
        skip_from_key_.reset();
        skip_ = skip;
    }
}

void VideoDecoder::parse(const std::uint8_t* data, int size, std::optional<Position> presentation,
                         std::optional<Position> decode, Position wanted_from, const Sink& sink) {
    std::int64_t pts = ticks_or_none(presentation);
    std::int64_t dts = ticks_or_none(decode);
    bool is_last_round = size == 0;
    do {
        std::uint8_t* unit = nullptr;
        int unit_size = 0;
        const int used =
            av_parser_parse2(parser_.get(), context_.get(), &unit, &unit_size, data, size, pts, dts, 0);
        pts = AV_NOPTS_VALUE;
        dts = AV_NOPTS_VALUE;
        if (data != nullptr) {
            data += used;
            size -= used;
        }
        if (unit_size > 0) {
            if (!is_open_) {
                open(decode);
            }
            packet_->data = unit;
            packet_->size = unit_size;
            packet_->pts = parser_->pts;
            packet_->dts = parser_->dts;
            const bool only_reference =
                packet_->pts != AV_NOPTS_VALUE && packet_->pts < wanted_from.time_since_epoch().count();
            const PictureClass kind =
                picture_class(codec_id_, *parser_, {unit, static_cast<std::size_t>(unit_size)});
            shares_.count(kind);
            if (skip_from_key_ && kind == PictureClass::key) {
                skip_ = *std::exchange(skip_from_key_, std::nullopt);
            }
            if (!load_ && (is_flushed_ || kind == PictureClass::key)) {
                choose_threads({unit, static_cast<std::size_t>(unit_size)}, wanted_from, sink);
            }
            is_flushed_ = false;
            context_->skip_frame = only_reference ? std::max(skip_, AVDISCARD_NONREF) : skip_;
            show_preview(kind);
            decode_packet(kind, {unit, static_cast<std::size_t>(unit_size)}, sink);
        } else if (used <= 0) {
            is_last_round = true;
        }
    } while (size > 0 && !is_last_round);
}

double VideoDecoder::guess_frame_rate(std::optional<Position> next_decode) const {
    if (next_decode && parser_->dts != AV_NOPTS_VALUE) {
        const std::chrono::duration<double> distance = *next_decode - Position{Ticks{parser_->dts}};
        if (distance.count() * highest_frame_rate >= 1.0) {
            return 1.0 / distance.count();
        }
    }
    return assumed_frame_rate;
}

int VideoDecoder::guess_reordering(std::optional<Position> next_decode, double frame_rate) const {
    if (!next_decode || parser_->pts == AV_NOPTS_VALUE || parser_->dts == AV_NOPTS_VALUE) {
        return 0;
    }
    const std::chrono::duration<double> reordering = Ticks{parser_->pts - parser_->dts};
    return static_cast<int>(std::clamp(std::round(reordering.count() * frame_rate), 0.0, deepest_reordering));
}

/// @param next_decode decoding time of the unit behind the one that the parser has just completed
void VideoDecoder::open(std::optional<Position> next_decode) {
    const double frame_rate = guess_frame_rate(next_decode);
    // Without this hint a stream that does not announce its reordering begins with pictures out of order.
    context_->has_b_frames = guess_reordering(next_decode, frame_rate);
    const double pixel_rate = static_cast<double>(parser_->width) * parser_->height * frame_rate;
    if (pixel_rate > one_thread_pixel_rate) {
        const auto processors = static_cast<int>(std::thread::hardware_concurrency());
        usual_threads_ = std::clamp(processors, 1, most_threads);
    }
    open_with(usual_threads_);
    is_open_ = true;
}

void VideoDecoder::open_with(int threads) {
    context_->thread_count = threads;
    if (avcodec_open2(context_.get(), context_->codec, nullptr) < 0) {
        throw std::runtime_error{std::string{"the decoder for "} + avcodec_get_name(codec_id_) +
                                 " does not open"};
    }
}

bool VideoDecoder::is_in_hurry(Position at, Position wanted_from) const {
    return hurry_ == Hurry::always || (hurry_ == Hurry::to_wanted && at + long_way < wanted_from);
}

/// More threads in a hurry, as usual again where the decoder can be exchanged without losing references.
void VideoDecoder::choose_threads(std::span<const std::uint8_t> unit, Position wanted_from,
                                  const Sink& sink) {
    if (packet_->pts == AV_NOPTS_VALUE || parser_->width * parser_->height < large_picture) {
        return;
    }
    const Position position{Ticks{packet_->pts}};
    const bool in_hurry = is_in_hurry(position, wanted_from);
    if (is_flushed_) {
        exchange(in_hurry ? std::max(usual_threads_, hurrying_threads) : usual_threads_,
                 context_->thread_type);
    } else if (!in_hurry && position >= wanted_from && context_->thread_count != usual_threads_ &&
               begins_anew(codec_id_, unit)) {
        send(nullptr, sink);
        exchange(usual_threads_, context_->thread_type);
    }
}

/// More threads, each of which delays pictures by an interval, only from where one thread has been too slow.
void VideoDecoder::follow_load(std::span<const std::uint8_t> unit, const Sink& sink) {
    if (packet_->pts == AV_NOPTS_VALUE || parser_->width * parser_->height < large_picture ||
        !begins_anew(codec_id_, unit)) {
        return;
    }
    const int threads = load_->threads_from(Position{Ticks{packet_->pts}});
    const int type = threads > 1 ? FF_THREAD_FRAME : FF_THREAD_SLICE;
    const int count = std::max(usual_threads_, threads);
    if (!has_threads(count, type)) {
        send(nullptr, sink);
        exchange(count, type);
    }
}

/// What the decoder does with the next unit at its present level.
DecodingWork VideoDecoder::work_on(PictureClass kind) const {
    return {.picture = kind, .is_skipped = is_skipped(kind, context_->skip_frame)};
}

void VideoDecoder::show_preview(PictureClass kind) {
    const Sink preview = std::exchange(preview_, nullptr);
    if (!preview || (context_->has_b_frames == 0 && context_->thread_count == 1)) {
        return;
    }
    const auto cost = time_.measure(work_on(kind), [&] {
        send(packet_.get(), preview);
        send(nullptr, preview);
        avcodec_flush_buffers(context_.get());
    });
    if (load_) {
        load_->begin_with(static_cast<std::size_t>(packet_->size), cost);
    }
}

void VideoDecoder::decode_packet(PictureClass kind, std::span<const std::uint8_t> unit, const Sink& sink) {
    if (load_) {
        follow_load(unit, sink);
    }
    const bool is_own_work = context_->active_thread_type != FF_THREAD_FRAME;
    const auto cost = time_.measure(work_on(kind), [&] { send(packet_.get(), sink); });
    if (is_own_work && context_->skip_frame == AVDISCARD_DEFAULT) {
        effort_.add(cost);
    }
    if (load_) {
        load_->add(unit.size(), is_own_work ? std::optional{cost} : std::nullopt);
    }
}

bool VideoDecoder::has_threads(int threads, int thread_type) const {
    return context_->thread_count == threads && context_->thread_type == thread_type;
}

/// A decoder that has decoded nothing in the place of the present one.
void VideoDecoder::exchange(int threads, int thread_type) {
    if (has_threads(threads, thread_type)) {
        return;
    }
    CodecContext fresh = make_context(codec_id_);
    fresh->flags = context_->flags;
    fresh->flags2 = context_->flags2;
    fresh->thread_type = thread_type;
    fresh->has_b_frames = context_->has_b_frames;
    fresh->skip_frame = context_->skip_frame;
    context_ = std::move(fresh);
    open_with(threads);
}

void VideoDecoder::send(const AVPacket* packet, const Sink& sink) {
    const int result = avcodec_send_packet(context_.get(), packet);
    if (result < 0 && result != AVERROR_EOF) {
        ++errors_;
    }
    receive(sink);
}

void VideoDecoder::receive(const Sink& sink) {
    int failures = 0;
    while (failures <= most_threads) {
        AvFrame frame = make_frame();
        const int result = avcodec_receive_frame(context_.get(), frame.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) {
            return;
        }
        if (result < 0) {
            // What other threads have decoded comes behind it.
            ++errors_;
            ++failures;
            continue;
        }
        if (frame->decode_error_flags != 0) {
            ++errors_;
        }
        frame->pts = frame->best_effort_timestamp;
        sink(std::move(frame));
    }
}

} // namespace velmora
