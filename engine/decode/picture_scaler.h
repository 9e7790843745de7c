// Brings pictures to another size, and to planar 4:2:0 of 8 bits.
#pragma once

#include "media/av_handles.h"
#include "media/picture_size.h"

namespace velmora {

/// Keeps its scaler and its picture from picture to picture. Not thread-safe.
class PictureScaler {
public:
    /// Samples keep their matrix and range.
    /// @param format of the frame, a planar YUV format without range of its own in its name
    /// @return `size` rounded up to whole blocks of eight by two, what lies outside `size` being anything;
    /// valid
    ///         until the next call; null when the format cannot be scaled
    const AVFrame* scale(const AVFrame& frame, AVPixelFormat format, bool full_range, PictureSize size);

private:
    struct Key {
        AVPixelFormat format{AV_PIX_FMT_NONE};
        bool full_range{false};
        PictureSize source;
        PictureSize target;

        bool operator==(const Key&) const = default;
    };

    bool prepare(const Key& key);

    Scaler scaler_;
    Key key_;
    AvFrame scaled_;
};

} // namespace velmora
