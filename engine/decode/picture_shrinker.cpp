#include "decode/picture_shrinker.h"

#include <new>

extern "C" {
#include <libavutil/imgutils.h>
}

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
    AvFrame small = make_frame();
    small->format = AV_PIX_FMT_YUV420P;
    small->width = scaled->width;
    small->height = scaled->height;
    if (av_frame_get_buffer(small.get(), 0) < 0 || av_frame_copy(small.get(), scaled) < 0 ||
        av_frame_copy_props(small.get(), &whole) < 0) {
        throw std::bad_alloc{};
    }
    // The scaler fills whole blocks; what lies outside the picture is cut off.
    small->width = size.width;
    small->height = size.height;
    small->sample_aspect_ratio = {1, 1};
    picture.whole_size = whole_size;
    picture.frame = std::move(small);
}

} // namespace velmora
