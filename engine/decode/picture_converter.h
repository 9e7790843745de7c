// Converts decoded pictures to 24-bit RGB of the size that is shown.
#pragma once

#include "decode/picture_scaler.h"
#include "media/av_handles.h"
#include "media/picture_size.h"

#include <cstdint>
#include <span>
#include <vector>

namespace velmora {

/// A picture as receivers get it: red first, rows top to bottom.
struct RgbPicture {
    std::span<std::uint8_t> bytes; ///< pitch x height, valid until the next conversion
    PictureSize size;
    int pitch{0}; ///< bytes per row, picture_pitch(size.width)
    const AVFrame* scaled{
        nullptr}; ///< what it was made of where that is not the picture itself; as long valid
};

/// Keeps its scaler and its buffer from picture to picture. Not thread-safe.
class PictureConverter {
public:
    /// Converts by the picture's colour_matrix and range.
    /// @return a picture without bytes when its pixel format cannot be converted
    RgbPicture convert(const AVFrame& frame, PictureSize size);

private:
    struct Key {
        AVPixelFormat format{AV_PIX_FMT_NONE};
        PictureSize size;
        int matrix{0};
        bool full_range{false};

        bool operator==(const Key&) const = default;
    };

    bool prepare(const Key& key);

    PictureScaler scaler_;
    Scaler colours_; ///< from YUV to RGB, size unchanged
    Key key_;
    std::vector<std::uint8_t> roomy_; ///< rows leave the converter room, then are packed
};

} // namespace velmora
