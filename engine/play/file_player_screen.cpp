// What is on the screen, as the presenter reports it.
#include "play/file_player.h"

#include <algorithm>

extern "C" {
#include <libavutil/imgutils.h>
}

namespace velmora {

namespace {

std::size_t bytes_of(const AVFrame& frame) {
    const int bytes =
        av_image_get_buffer_size(static_cast<AVPixelFormat>(frame.format), frame.width, frame.height, 1);
    return bytes > 0 ? static_cast<std::size_t>(bytes) : 0;
}

} // namespace

void FilePlayer::picture_shown(const Picture& picture) {
    {
        const std::lock_guard lock{mutex_};
        if (picture.generation != pictures_->clock.generation()) {
            return;
        }
        if (picture.begins_run) {
            expect_groups_around(picture.position);
        }
        last_shown_ = picture.position;
        if (!picture.whole_size) {
            shown_bytes_ = bytes_of(*picture.frame);
            shown_size_ = square_pixel_size(*picture.frame);
        }
    }
    status_.update([&](PlaybackFacts& facts, StreamCounters& counters) {
        facts.stream.picture = picture.whole_size.value_or(square_pixel_size(*picture.frame));
        counters.shown_pictures += picture.is_preview ? 0 : 1;
    });
    wake();
}

/// Playing comes to rest only now, so that its state is not told before its picture is there.
void FilePlayer::picture_delivered(const Picture& picture) {
    {
        const std::lock_guard lock{mutex_};
        if (picture.generation != pictures_->clock.generation()) {
            return;
        }
        last_delivered_ = picture.position;
    }
    wake();
}

void FilePlayer::expect_groups_around(Position position) {
    const auto key = index_->find(position);
    const auto next = index_->find_next(position + Ticks{1});
    if (key && next && next->presentation > key->presentation) {
        pictures_->recent->expect_groups_of(next->presentation - key->presentation);
    }
}

void FilePlayer::sound_begins(Position position) {
    const std::lock_guard lock{mutex_};
    pictures_->clock.begin_run(pictures_->clock.generation(), position, time_.now());
    last_shown_ = position;
}

/// What a picture takes that is kept for the screen; 0 when nothing was shown yet.
std::size_t FilePlayer::held_bytes() const {
    const std::lock_guard lock{mutex_};
    const PictureSize display = pictures_->display.load();
    if (shown_bytes_ == 0 || display == PictureSize{} || shown_size_ == PictureSize{}) {
        return shown_bytes_;
    }
    const PictureSize held = delivered_size(shown_size_, display);
    constexpr std::size_t bytes_per_two_pixels = 3; // 4:2:0 of 8 bits
    const auto pixels = static_cast<std::size_t>(held.width) * static_cast<std::size_t>(held.height);
    return std::min(shown_bytes_, pixels * bytes_per_two_pixels / 2);
}

} // namespace velmora
