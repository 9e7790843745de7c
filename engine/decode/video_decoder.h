// Turns the PES packets of a video stream into pictures.
#pragma once

#include "decode/decoding_effort.h"
#include "decode/decoding_load.h"
#include "decode/picture_classifier.h"
#include "media/av_handles.h"
#include "media/timeline.h"
#include "pacing/time_source.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace velmora {

/// Payload of one PES packet of video, with its time stamps on the timeline.
struct VideoUnit {
    std::vector<std::uint8_t> bytes; ///< the whole PES packet
    std::size_t payload_start{0};    ///< where its payload begins in `bytes`
    std::optional<Position> presentation;
    std::optional<Position> decode;
};

/// When more threads decode than plain playing takes: they cost more work in sum, but are there sooner.
enum class Hurry { never, to_wanted, always };

/// One decoder of libavcodec with its parser. Not thread-safe.
class VideoDecoder {
public:
    /// Receives pictures in display order; `pts` holds the ticks of their Position, or AV_NOPTS_VALUE.
    using Sink = std::function<void(AvFrame)>;

    /// @param time measures what decoding takes; outlives the decoder
    VideoDecoder(AVCodecID codec, TimeSource& time);

    AVCodecID codec_id() const { return codec_id_; }
    /// Decodes the access units that the unit completes.
    /// @param wanted_from pictures before it only serve as references and need not come out
    void decode(VideoUnit unit, Position wanted_from, const Sink& sink);
    /// Hands out what is in the pipe, at the end of the stream or in front of a jump of its time stamps.
    /// The next unit must begin at an access point.
    void finish(Position wanted_from, const Sink& sink);
    /// Hands out what is in the pipe, in front of a unit that needs nothing of it (begins_anew), where units
    /// are whole.
    void bring_out(const Sink& sink);
    /// Drops what is in the pipe, before a jump in the file.
    void flush();
    /// Leaves out pictures of these classes. A lower level than one that leaves out references takes effect
    /// at the next key picture, since what follows before it cannot be decoded.
    void set_skip(AVDiscard skip);
    /// What the stream's latest pictures are made of.
    const PictureClassShares& shares() const { return shares_; }
    /// What its latest pictures took that were decoded without threads of its own.
    const DecodingEffort& effort() const { return effort_; }
    /// Decodes the next unit, an access point, twice: its picture goes to `preview` at once, without waiting
    /// for the units that precede it in display order, and comes out in order later. Once, where it would not
    /// come out at once anyway.
    void preview_next(Sink preview) { preview_ = std::move(preview); }
    /// Large pictures only; to_wanted: on a long way to the first wanted one. Takes effect when decoding
    /// begins the next time.
    void set_hurry(Hurry hurry) { hurry_ = hurry; }
    /// For a stream that is live: takes each unit for one access unit, instead of waiting for the beginning
    /// of the next one to be sure, until a unit shows that it is not; and decodes without threads that delay,
    /// as long as one decodes large pictures in time.
    void expect_whole_units();
    /// Shows pictures even where no access point was found in front of them.
    void accept_damaged_start();

    /// Units that could not be decoded so far, and damaged pictures.
    std::uint64_t errors() const { return errors_; }

private:
    void renew_parser();
    void check_wholeness(std::span<const std::uint8_t> unit, bool has_time);
    void parse(const std::uint8_t* data, int size, std::optional<Position> presentation,
               std::optional<Position> decode, Position wanted_from, const Sink& sink);
    void open(std::optional<Position> next_decode);
    int guess_reordering(std::optional<Position> next_decode, double frame_rate) const;
    double guess_frame_rate(std::optional<Position> next_decode) const;
    void open_with(int threads);
    void choose_threads(std::span<const std::uint8_t> unit, Position wanted_from, const Sink& sink);
    bool is_in_hurry(Position at, Position wanted_from) const;
    void follow_load(std::span<const std::uint8_t> unit, const Sink& sink);
    bool has_threads(int threads, int thread_type) const;
    void exchange(int threads, int thread_type);
    void show_preview(PictureClass kind);
    void decode_packet(PictureClass kind, std::span<const std::uint8_t> unit, const Sink& sink);
    DecodingWork work_on(PictureClass kind) const;
    void send(const AVPacket* packet, const Sink& sink);
    void receive(const Sink& sink);

    AVCodecID codec_id_;
    CodecContext context_;
    CodecParser parser_;
    AvPacket packet_;
    Sink preview_;
    std::uint64_t errors_{0};
    bool is_open_{false};
    bool expects_whole_units_{false};
    Hurry hurry_{Hurry::never};
    bool is_flushed_{true}; ///< nothing was decoded since
    int usual_threads_{1};
    TimeSource& time_;
    std::optional<DecodingLoad> load_; ///< of a stream that is live
    PictureClassShares shares_;
    DecodingEffort effort_;
    AVDiscard skip_{AVDISCARD_DEFAULT};
    std::optional<AVDiscard> skip_from_key_;
};

} // namespace velmora
