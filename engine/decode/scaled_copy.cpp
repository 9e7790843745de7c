#include "decode/scaled_copy.h"

#include "decode/colour_matrix.h"

#include <new>
#include <utility>

namespace velmora {

AvFrame scaled_copy(const AVFrame& scaled, PictureSize size, const AVFrame& whole, AvFrame spare) {
    const bool is_spare_fit = spare && spare->format == scaled.format && spare->width == size.width &&
                              spare->height == size.height && av_frame_is_writable(spare.get()) > 0;
    AvFrame copy = is_spare_fit ? std::move(spare) : make_frame();
    // The scaler fills whole blocks; what lies outside the picture is cut off afterwards.
    copy->format = scaled.format;
    copy->width = scaled.width;
    copy->height = scaled.height;
    if (!is_spare_fit && av_frame_get_buffer(copy.get(), 0) < 0) {
        throw std::bad_alloc{};
    }
    if (av_frame_copy(copy.get(), &scaled) < 0 || av_frame_copy_props(copy.get(), &whole) < 0) {
        throw std::bad_alloc{};
    }
    copy->width = size.width;
    copy->height = size.height;
    copy->colorspace = colour_matrix(whole);
    copy->sample_aspect_ratio = {1, 1};
    return copy;
}

} // namespace velmora
