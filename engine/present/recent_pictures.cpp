#include "present/recent_pictures.h"

#include <algorithm>
#include <new>
#include <utility>

extern "C" {
#include <libavutil/imgutils.h>
}

namespace velmora {

namespace {

constexpr std::size_t most_bytes = std::size_t{16} << 20U;

std::size_t bytes_of(const AVFrame& frame) {
    const int bytes =
        av_image_get_buffer_size(static_cast<AVPixelFormat>(frame.format), frame.width, frame.height, 1);
    return static_cast<std::size_t>(std::max(bytes, 0));
}

} // namespace

void RecentPictures::keep(const Picture& picture, const RgbPicture& rgb) {
    const std::lock_guard lock{mutex_};
    Entry entry{shown_copy(picture, rgb)};
    entry.bytes = bytes_of(*entry.picture.frame);
    bytes_ += entry.bytes;
    entries_.push_back(std::move(entry));
    while (bytes_ > most_bytes) {
        bytes_ -= entries_.front().bytes;
        spare_ = std::move(entries_.front().picture.frame);
        entries_.pop_front();
    }
}

/// Where the picture was not scaled the decoded one is shared, which is smaller than what it was converted
/// to.
Picture RecentPictures::shown_copy(const Picture& picture, const RgbPicture& rgb) {
    Picture copy;
    copy.position = picture.position;
    copy.whole_size = picture.whole_size;
    const PictureSize decoded{picture.frame->width, picture.frame->height};
    if (rgb.size == decoded) {
        copy.frame.reset(av_frame_clone(picture.frame.get()));
        if (!copy.frame) {
            throw std::bad_alloc{};
        }
        return copy;
    }
    copy.whole_size = picture.whole_size.value_or(square_pixel_size(*picture.frame));
    const bool is_spare_fit = spare_ && spare_->format == AV_PIX_FMT_RGB24 &&
                              PictureSize{spare_->width, spare_->height} == rgb.size &&
                              av_frame_is_writable(spare_.get()) > 0;
    copy.frame = is_spare_fit ? std::move(spare_) : make_frame();
    if (!is_spare_fit) {
        copy.frame->width = rgb.size.width;
        copy.frame->height = rgb.size.height;
        copy.frame->format = AV_PIX_FMT_RGB24;
        // What libswscale assumes when it has to scale it once more.
        copy.frame->colorspace = AVCOL_SPC_SMPTE170M;
        copy.frame->color_range = AVCOL_RANGE_JPEG;
        if (av_frame_get_buffer(copy.frame.get(), 0) < 0) {
            throw std::bad_alloc{};
        }
    }
    av_image_copy_plane(copy.frame->data[0], copy.frame->linesize[0], rgb.bytes.data(), rgb.pitch,
                        rgb.size.width * 3, rgb.size.height);
    return copy;
}

void RecentPictures::forget() {
    const std::lock_guard lock{mutex_};
    entries_.clear();
    bytes_ = 0;
}

std::deque<Picture> RecentPictures::take() {
    const std::lock_guard lock{mutex_};
    std::deque<Picture> pictures;
    for (Entry& entry : entries_) {
        pictures.push_back(std::move(entry.picture));
    }
    entries_.clear();
    bytes_ = 0;
    return pictures;
}

} // namespace velmora
