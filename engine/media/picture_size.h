// Sizes of pictures with square pixels, and how they fit a display.
#pragma once

#include "media/av_handles.h"

#include <optional>

namespace velmora {

struct PictureSize {
    int width{0};
    int height{0};

    bool operator==(const PictureSize&) const = default;
};

/// Bytes that a receiver of pictures has room for.
inline constexpr std::int64_t largest_picture_bytes = 16'384'000;

/// Bytes per row of a delivered picture: what a receiver assumes that pads 24-bit rows to four bytes.
constexpr int picture_pitch(int width) {
    return (3 * width + 3) / 4 * 4;
}

/// Size of a picture with square pixels: 720x576 with pixels of 64:45 is 1024x576.
PictureSize square_pixel_size(const AVFrame& frame);

/// The size at which a picture is delivered, keeping its aspect.
/// @param picture with square pixels
/// @param display room to fill; without one the picture keeps its size up to 1920x1080
PictureSize delivered_size(PictureSize picture, std::optional<PictureSize> display);

} // namespace velmora
