#include "present/recent_pictures.h"

#include "decode/scaled_copy.h"

#include <algorithm>
#include <new>
#include <utility>

extern "C" {
#include <libavutil/imgutils.h>
}

namespace velmora {

namespace {

constexpr std::size_t most_bytes = std::size_t{128} << 20U;
/// They cover the time in which a group of pictures is decoded: one in so many of it, and a moment longer.
constexpr int needed_share = 3;
constexpr Ticks moment = std::chrono::milliseconds{80};
constexpr Ticks assumed_group = std::chrono::seconds{2};

std::size_t bytes_of(const AVFrame& frame) {
    const int bytes =
        av_image_get_buffer_size(static_cast<AVPixelFormat>(frame.format), frame.width, frame.height, 1);
    return static_cast<std::size_t>(std::max(bytes, 0));
}

} // namespace

RecentPictures::RecentPictures() : group_{assumed_group} {}

void RecentPictures::keep(const Picture& picture, const RgbPicture& rgb) {
    const std::lock_guard lock{mutex_};
    follow_groups(picture);
    Entry entry{shown_copy(picture, rgb)};
    entry.bytes = bytes_of(*entry.picture.frame);
    bytes_ += entry.bytes;
    entries_.push_back(std::move(entry));
    const Position oldest = picture.position - group_ / needed_share - moment;
    while (!entries_.empty() && (bytes_ > most_bytes || entries_.front().picture.position < oldest)) {
        bytes_ -= entries_.front().bytes;
        spare_ = std::move(entries_.front().picture.frame);
        entries_.pop_front();
    }
}

/// Learns the distance of key pictures.
void RecentPictures::follow_groups(const Picture& picture) {
    const bool is_key = picture.frame->key_frame != 0;
    if (last_key_) {
        const Ticks since = picture.position - *last_key_;
        group_ = is_key ? since : std::max(group_, since);
    }
    if (is_key) {
        last_key_ = picture.position;
    }
}

void RecentPictures::expect_groups_of(Ticks distance) {
    const std::lock_guard lock{mutex_};
    group_ = distance;
}

/// Where the picture was not scaled the decoded one is shared, which is smaller than what it was converted
/// to.
Picture RecentPictures::shown_copy(const Picture& picture, const RgbPicture& rgb) {
    Picture copy;
    copy.position = picture.position;
    copy.whole_size = picture.whole_size;
    if (rgb.scaled != nullptr) {
        copy.whole_size = picture.whole_size.value_or(square_pixel_size(*picture.frame));
        copy.frame = scaled_copy(*rgb.scaled, rgb.size, *picture.frame, std::move(spare_));
        return copy;
    }
    copy.frame.reset(av_frame_clone(picture.frame.get()));
    if (!copy.frame) {
        throw std::bad_alloc{};
    }
    return copy;
}

void RecentPictures::forget() {
    const std::lock_guard lock{mutex_};
    entries_.clear();
    bytes_ = 0;
    last_key_.reset();
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
