#include "decode/picture_shrinker.h"

#include "decode/scaled_copy.h"

namespace velmora {

void PictureShrinker::shrink(Picture& picture, PictureSize display) {
    const AVFrame& whole = *picture.frame;
    const PictureSize whole_size = square_pixel_size(whole);
    if (display == PictureSize{} || whole.format != AV_PIX_FMT_YUV420P) {
        return;
    }
    const PictureSize size = delivered_size(whole_size, display);
    if (size.width >= whole.width || size.height >= whole.height) {
        return;
    }
    const bool full_range = whole.color_range == AVCOL_RANGE_JPEG;
    const AVFrame* const scaled = scaler_.scale(whole, AV_PIX_FMT_YUV420P, full_range, size);
    if (scaled == nullptr) {
        return;
    }
    picture.whole_size = whole_size;
    picture.frame = scaled_copy(*scaled, size, whole);
}

} // namespace velmora
