#include "media/picture_size.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace velmora {

namespace {

constexpr PictureSize largest_without_display{1920, 1080};

/// The largest size of the picture's aspect inside `room`, rounded down as label scaling does.
PictureSize fit(PictureSize picture, PictureSize room) {
    const auto width_at_full_height = static_cast<std::int64_t>(room.height) * picture.width / picture.height;
    if (width_at_full_height <= room.width) {
        return {std::max(1, static_cast<int>(width_at_full_height)), room.height};
    }
    const auto height_at_full_width = static_cast<std::int64_t>(room.width) * picture.height / picture.width;
    return {room.width, std::max(1, static_cast<int>(height_at_full_width))};
}

std::int64_t picture_bytes(PictureSize size) {
    return static_cast<std::int64_t>(picture_pitch(size.width)) * size.height;
}

} // namespace

PictureSize square_pixel_size(const AVFrame& frame) {
    PictureSize size{frame.width, frame.height};
    const AVRational aspect = frame.sample_aspect_ratio;
    if (aspect.num > 0 && aspect.den > 0 && aspect.num != aspect.den) {
        const double width = std::round(static_cast<double>(frame.width) * aspect.num / aspect.den);
        // An aspect beyond this is damage, not a picture.
        constexpr double widest = 16384.0;
        if (width >= 1.0 && width <= widest) {
            size.width = static_cast<int>(width);
        }
    }
    return size;
}

PictureSize delivered_size(PictureSize picture, std::optional<PictureSize> display) {
    PictureSize size = picture;
    if (display) {
        size = fit(picture, *display);
    } else if (size.width > largest_without_display.width || size.height > largest_without_display.height) {
        size = fit(picture, largest_without_display);
    }
    if (const auto bytes = picture_bytes(size); bytes > largest_picture_bytes) {
        const double scale =
            std::sqrt(static_cast<double>(largest_picture_bytes) / static_cast<double>(bytes));
        size = fit(picture, {std::max(1, static_cast<int>(size.width * scale) - 4),
                             std::max(1, static_cast<int>(size.height * scale) - 1)});
    }
    return size;
}

} // namespace velmora
