#include "decode/picture_scaler.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace velmora {

namespace {

constexpr int rounded_up(int value, int block) {
    return (value + block - 1) / block * block;
}

/// The cheapest method that looks right in each direction.
int scaling_method(PictureSize source, PictureSize target) {
    if (source == target) {
        return SWS_POINT;
    }
    return target.width < source.width ? SWS_AREA : SWS_BILINEAR;
}

AvFrame make_black(PictureSize size) {
    AvFrame frame = make_frame();
    frame->width = rounded_up(size.width, 8);
    frame->height = rounded_up(size.height, 2);
    frame->format = AV_PIX_FMT_YUV420P;
    if (av_frame_get_buffer(frame.get(), 0) < 0) {
        throw std::bad_alloc{};
    }
    for (int plane = 0; plane < 3; ++plane) {
        const int rows = plane == 0 ? frame->height : frame->height / 2;
        std::fill_n(frame->data[plane], static_cast<std::ptrdiff_t>(rows) * frame->linesize[plane],
                    static_cast<std::uint8_t>(plane == 0 ? 0 : 128));
    }
    return frame;
}

} // namespace

bool PictureScaler::prepare(const Key& key) {
    if (scaler_ && key == key_) {
        return true;
    }
    scaler_.reset(sws_getContext(key.source.width, key.source.height, key.format, key.target.width,
                                 key.target.height, AV_PIX_FMT_YUV420P,
                                 scaling_method(key.source, key.target), nullptr, nullptr, nullptr));
    if (!scaler_) {
        return false;
    }
    const int* const matrix = sws_getCoefficients(SWS_CS_DEFAULT);
    const int range = key.full_range ? 1 : 0;
    constexpr int unchanged = 1 << 16;
    sws_setColorspaceDetails(scaler_.get(), matrix, range, matrix, range, 0, unchanged, unchanged);
    scaled_ = make_black(key.target);
    key_ = key;
    return true;
}

const AVFrame* PictureScaler::scale(const AVFrame& frame, AVPixelFormat format, bool full_range,
                                    PictureSize size) {
    if (!prepare({format, full_range, {frame.width, frame.height}, size})) {
        return nullptr;
    }
    const int rows = sws_scale(scaler_.get(), frame.data, frame.linesize, 0, frame.height, scaled_->data,
                               scaled_->linesize);
    return rows > 0 ? scaled_.get() : nullptr;
}

} // namespace velmora
