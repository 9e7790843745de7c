#include "tracks/video_track.h"

#include "diagnostics/log.h"
#include "ts/access_point.h"

#include <algorithm>
#include <exception>
#include <span>
#include <string>
#include <utility>

namespace velmora {

bool VideoTrack::begin_stream(const QueuedVideo& queued) {
    if (stream_serial_ == queued.stream.serial) {
        return decoder_ != nullptr;
    }
    finish();
    past_errors_ = errors();
    stream_serial_ = queued.stream.serial;
    awaits_access_point_ = true;
    try {
        decoder_ = std::make_unique<VideoDecoder>(queued.stream.codec, *time_);
    } catch (const std::runtime_error& error) {
        decoder_.reset();
        log_incident("video", "decoder", std::string{error.what()} + ", pictures left out");
        return false;
    }
    decoder_->set_skip(skip_);
    if (is_live_) {
        decoder_->expect_whole_units();
    }
    decoder_->set_hurry(hurry_);
    if (accepts_damaged_start_) {
        decoder_->accept_damaged_start();
    }
    return true;
}

bool VideoTrack::wait_for_access_point(const QueuedVideo& queued) {
    if (!awaits_access_point_ || accepts_damaged_start_) {
        return true;
    }
    const auto payload = std::span{queued.unit.bytes}.subspan(queued.unit.payload_start);
    if (find_access_point(queued.stream.codec, payload, true).verdict != AccessPointVerdict::point) {
        return false;
    }
    awaits_access_point_ = false;
    if (queued.unit.presentation) {
        // Leading pictures of an open GOP refer to pictures that were never decoded.
        wanted_from_ = std::max(wanted_from_, *queued.unit.presentation);
    }
    if (on_preview_) {
        decoder_->preview_next([this](AvFrame frame) { hand_out_preview(std::move(frame)); });
    }
    return true;
}

void VideoTrack::decode(QueuedVideo queued) {
    // Where nothing is missing a live sender has only set its clock; joined recordings often hide what is.
    const bool is_elsewhere = queued.begins_piece && (queued.follows_loss || !is_live_);
    if ((is_elsewhere || queued.lacks_references) && decoder_) {
        finish();
        awaits_access_point_ = true;
    }
    if (!begin_stream(queued) || !wait_for_access_point(queued)) {
        return;
    }
    decoder_->decode(std::move(queued.unit), wanted_from_,
                     [this](AvFrame frame) { take_frame(std::move(frame)); });
}

void VideoTrack::finish() {
    if (decoder_) {
        decoder_->finish(wanted_from_, [this](AvFrame frame) { take_frame(std::move(frame)); });
    }
    deinterlacer_.drain([this](AvFrame frame) { take_deinterlaced(std::move(frame)); });
}

void VideoTrack::bring_out() {
    if (decoder_) {
        decoder_->bring_out([this](AvFrame frame) { take_frame(std::move(frame)); });
    }
}

void VideoTrack::restart(Position wanted_from) {
    if (decoder_) {
        decoder_->flush();
    }
    deinterlacer_.flush();
    ready_.clear();
    last_unwanted_.reset();
    last_position_.reset();
    wanted_from_ = wanted_from;
    awaits_access_point_ = true;
}

void VideoTrack::set_hurry(Hurry hurry) {
    hurry_ = hurry;
    if (decoder_) {
        decoder_->set_hurry(hurry);
    }
}

void VideoTrack::set_skip(AVDiscard skip) {
    skip_ = skip;
    if (decoder_) {
        decoder_->set_skip(skip);
    }
}

std::optional<Picture> VideoTrack::take_last_unwanted() {
    return std::exchange(last_unwanted_, std::nullopt);
}

void VideoTrack::hand_out_preview(AvFrame frame) {
    if (frame->pts == AV_NOPTS_VALUE || !on_preview_) {
        return;
    }
    // Alone, since what follows it comes only later.
    Deinterlacer alone;
    const auto hand_out = [this](AvFrame shown) {
        Picture picture;
        picture.position = Position{Ticks{shown->pts}};
        picture.frame = std::move(shown);
        picture.is_preview = true;
        std::exchange(on_preview_, nullptr)(std::move(picture));
    };
    alone.filter(std::move(frame), hand_out);
    alone.drain(hand_out);
}

void VideoTrack::take_frame(AvFrame frame) {
    ++decoded_;
    Position position{};
    if (frame->pts != AV_NOPTS_VALUE) {
        position = Position{Ticks{frame->pts}};
    } else if (last_position_) {
        position = *last_position_ + frame_distance_;
    }
    if (last_position_) {
        if (position <= *last_position_) {
            log_incident("video", "order", "a picture came out of order, left out");
            return;
        }
        frame_distance_ = position - *last_position_;
    }
    last_position_ = position;
    frame->pts = position.time_since_epoch().count();
    if (position < wanted_from_) {
        last_unwanted_ = Picture{};
        last_unwanted_->frame = std::move(frame);
        last_unwanted_->position = position;
        return;
    }
    deinterlacer_.filter(std::move(frame), [this](AvFrame wanted) { take_deinterlaced(std::move(wanted)); });
}

void VideoTrack::take_deinterlaced(AvFrame frame) {
    Picture picture;
    picture.position = Position{Ticks{frame->pts}};
    picture.frame = std::move(frame);
    ready_.push_back(std::move(picture));
}

} // namespace velmora
