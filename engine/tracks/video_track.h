// The pictures of a played file: from queued units to pictures in display order.
#pragma once

#include "decode/deinterlacer.h"
#include "decode/video_decoder.h"
#include "media/picture.h"
#include "tracks/media_units.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace velmora {

/// Rebuilds its decoder when the stream changes and begins at access points only. Not thread-safe.
class VideoTrack {
public:
    /// @param time outlives the track
    explicit VideoTrack(TimeSource& time) : time_{&time} {}

    /// Decodes one unit; pictures that come out wait in ready().
    void decode(QueuedVideo queued);
    /// Brings out what is in the pipe, at the end of the file.
    void finish();
    /// Brings out what is in the pipe in front of a unit that begins anew, of a live stream.
    void bring_out();
    /// Drops everything, before a jump in the file; pictures before `wanted_from` will not come out.
    void restart(Position wanted_from);
    /// Hands the first picture out before those that have to be decoded for its successors; once.
    void preview_first(std::function<void(Picture)> on_preview) { on_preview_ = std::move(on_preview); }
    /// Decodes from the first unit on, access point or not.
    void accept_damaged_start() { accepts_damaged_start_ = true; }
    /// See VideoDecoder::set_hurry.
    void set_hurry(Hurry hurry);
    /// For a stream that is live: see VideoDecoder::expect_whole_units. Before the first unit.
    void decode_without_delay() { is_live_ = true; }
    /// Leaves out pictures of these classes.
    void set_skip(AVDiscard skip);
    /// Interlaced pictures are deinterlaced, or left combed on a late machine.
    void set_deinterlacing(bool enabled) { deinterlacer_.set_enabled(enabled); }

    /// Pictures in display order, oldest first; the owner takes them.
    std::deque<Picture>& ready() { return ready_; }
    const std::deque<Picture>& ready() const { return ready_; }
    /// The last picture in front of the wanted ones, for a jump behind the last picture.
    std::optional<Picture> take_last_unwanted();
    /// Whether a picture came out, wanted or not, since restart().
    bool has_decoded() const { return last_position_.has_value(); }

    AVCodecID codec() const { return decoder_ ? decoder_->codec_id() : AV_CODEC_ID_NONE; }
    /// What the stream's latest pictures are made of.
    PictureClassShares shares() const { return decoder_ ? decoder_->shares() : PictureClassShares{}; }
    /// See DecodingEffort::per_picture.
    DecodingEffort::Seconds effort(std::size_t least_pictures) const {
        return decoder_ ? decoder_->effort().per_picture(least_pictures) : DecodingEffort::Seconds::zero();
    }
    /// Pictures decoded since this was last asked.
    std::uint64_t take_decoded() { return std::exchange(decoded_, 0); }
    std::uint64_t errors() const { return past_errors_ + (decoder_ ? decoder_->errors() : 0); }

private:
    bool begin_stream(const QueuedVideo& queued);
    bool wait_for_access_point(const QueuedVideo& queued);
    void take_frame(AvFrame frame);
    void take_deinterlaced(AvFrame frame);
    void hand_out_preview(AvFrame frame);

    TimeSource* time_; ///< outlives the track
    std::unique_ptr<VideoDecoder> decoder_;
    Deinterlacer deinterlacer_;
    std::function<void(Picture)> on_preview_;
    std::uint64_t stream_serial_{0};
    std::deque<Picture> ready_;
    std::optional<Picture> last_unwanted_;
    std::optional<Position> last_position_;
    Position wanted_from_{};
    Ticks frame_distance_{3600};
    std::uint64_t decoded_{0};
    std::uint64_t past_errors_{0};
    bool awaits_access_point_{true};
    bool accepts_damaged_start_{false};
    bool is_live_{false};
    Hurry hurry_{Hurry::never};
    AVDiscard skip_{AVDISCARD_DEFAULT};
};

} // namespace velmora
