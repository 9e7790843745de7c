#include "decode/picture_converter.h"

#include "diagnostics/log.h"

#include <algorithm>
#include <cstring>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace velmora {

namespace {

/// libswscale writes groups of eight pixels, and leaves the last group out where a row has no room for it:
/// rows have room for one group more, begin at multiples of this, and the buffer ends with as much spare.
constexpr std::size_t row_alignment = 64;
constexpr std::size_t group_bytes = std::size_t{8} * 3;

/// The special formats with "full range" in their name are deprecated in favour of the range itself.
int without_range(int format) {
    switch (format) {
    case AV_PIX_FMT_YUVJ420P:
        return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
        return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P:
        return AV_PIX_FMT_YUV444P;
    case AV_PIX_FMT_YUVJ440P:
        return AV_PIX_FMT_YUV440P;
    default:
        return format;
    }
}

int matrix_of(const AVFrame& frame) {
    switch (frame.colorspace) {
    case AVCOL_SPC_BT709:
        return SWS_CS_ITU709;
    case AVCOL_SPC_FCC:
        return SWS_CS_FCC;
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
        return SWS_CS_ITU601;
    case AVCOL_SPC_SMPTE240M:
        return SWS_CS_SMPTE240M;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
        return SWS_CS_BT2020;
    default:
        return frame.height > 576 ? SWS_CS_ITU709 : SWS_CS_ITU601;
    }
}

/// The cheapest method that looks right in each direction.
int scaling_method(PictureSize source, PictureSize target) {
    if (source == target) {
        return SWS_POINT;
    }
    return target.width < source.width ? SWS_AREA : SWS_BILINEAR;
}

} // namespace

bool PictureConverter::prepare(const AVFrame& frame, PictureSize size) {
    const bool full_range =
        frame.color_range == AVCOL_RANGE_JPEG || without_range(frame.format) != frame.format;
    const Key key{
        without_range(frame.format), {frame.width, frame.height}, size, matrix_of(frame), full_range};
    if (scaler_ && key == key_) {
        return true;
    }
    scaler_.reset(sws_getContext(frame.width, frame.height, static_cast<AVPixelFormat>(key.format),
                                 size.width, size.height, AV_PIX_FMT_RGB24, scaling_method(key.source, size),
                                 nullptr, nullptr, nullptr));
    if (!scaler_) {
        const char* const name = av_get_pix_fmt_name(static_cast<AVPixelFormat>(frame.format));
        log_incident("picture", "format",
                     std::string{"pictures of format "} + (name == nullptr ? "unknown" : name) +
                         " cannot be converted, left out");
        return false;
    }
    const int* const coefficients = sws_getCoefficients(key.matrix);
    constexpr int unchanged = 1 << 16;
    sws_setColorspaceDetails(scaler_.get(), coefficients, full_range ? 1 : 0,
                             sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, unchanged, unchanged);
    key_ = key;
    return true;
}

RgbPicture PictureConverter::convert(const AVFrame& frame, PictureSize size) {
    if (!prepare(frame, size)) {
        return {};
    }
    const auto height = static_cast<std::size_t>(size.height);
    const int pitch = picture_pitch(size.width);
    const auto pitch_bytes = static_cast<std::size_t>(pitch);
    const std::size_t room = size.width % 8 == 0 ? 0 : group_bytes;
    const std::size_t roomy_pitch = (pitch_bytes + room + row_alignment - 1) / row_alignment * row_alignment;
    roomy_.resize(roomy_pitch * height + row_alignment);
    std::uint8_t* const planes[4]{roomy_.data(), nullptr, nullptr, nullptr};
    const int strides[4]{static_cast<int>(roomy_pitch), 0, 0, 0};
    if (sws_scale(scaler_.get(), frame.data, frame.linesize, 0, frame.height, planes, strides) <= 0) {
        return {};
    }
    // Rows only move towards the front, so that they can be packed in place.
    for (std::size_t row = 1; roomy_pitch != pitch_bytes && row < height; ++row) {
        std::memmove(roomy_.data() + row * pitch_bytes, roomy_.data() + row * roomy_pitch, pitch_bytes);
    }
    return {std::span{roomy_}.first(pitch_bytes * height), size, pitch};
}

} // namespace velmora
