#include "decode/picture_converter.h"

#include "decode/colour_matrix.h"
#include "diagnostics/log.h"

#include <cstring>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace velmora {

namespace {

/// libswscale writes groups of eight pixels, and leaves the last group out where a row has no room for it:
/// rows that end within a group have room for one more and begin at multiples of this, and the buffer ends
/// with as much spare.
constexpr std::size_t row_alignment = 64;
constexpr std::size_t group_bytes = std::size_t{8} * 3;

/// The special formats with "full range" in their name are deprecated in favour of the range itself.
AVPixelFormat without_range(int format) {
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
        return static_cast<AVPixelFormat>(format);
    }
}

/// libswscale turns these straight into RGB several times faster than any other, if their height is even.
bool has_fast_colours(AVPixelFormat format, PictureSize size) {
    return (format == AV_PIX_FMT_YUV420P || format == AV_PIX_FMT_YUV422P) && size.height % 2 == 0;
}

bool is_colour_yuv(AVPixelFormat format) {
    const AVPixFmtDescriptor* const described = av_pix_fmt_desc_get(format);
    return described != nullptr && described->nb_components >= 3 &&
           (described->flags & AV_PIX_FMT_FLAG_RGB) == 0;
}

void tell_unknown(int format) {
    const char* const name = av_get_pix_fmt_name(static_cast<AVPixelFormat>(format));
    log_incident("picture", "format",
                 std::string{"pictures of format "} + (name == nullptr ? "unknown" : name) +
                     " cannot be converted, left out");
}

int matrix_of(const AVFrame& frame) {
    switch (colour_matrix(frame)) {
    case AVCOL_SPC_BT709:
        return SWS_CS_ITU709;
    case AVCOL_SPC_FCC:
        return SWS_CS_FCC;
    case AVCOL_SPC_SMPTE240M:
        return SWS_CS_SMPTE240M;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
        return SWS_CS_BT2020;
    default:
        return SWS_CS_ITU601;
    }
}

} // namespace

bool PictureConverter::prepare(const Key& key) {
    if (colours_ && key == key_) {
        return true;
    }
    colours_.reset(sws_getContext(key.size.width, key.size.height, key.format, key.size.width,
                                  key.size.height, AV_PIX_FMT_RGB24, SWS_POINT, nullptr, nullptr, nullptr));
    if (!colours_) {
        return false;
    }
    constexpr int unchanged = 1 << 16;
    sws_setColorspaceDetails(colours_.get(), sws_getCoefficients(key.matrix), key.full_range ? 1 : 0,
                             sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, unchanged, unchanged);
    key_ = key;
    return true;
}

RgbPicture PictureConverter::convert(const AVFrame& frame, PictureSize size) {
    const AVPixelFormat format = without_range(frame.format);
    const bool full_range = frame.color_range == AVCOL_RANGE_JPEG || format != frame.format;
    const PictureSize source{frame.width, frame.height};
    // Scaling first and converting the small picture then costs less than both in one go.
    const bool is_scaled = size != source || (is_colour_yuv(format) && !has_fast_colours(format, source));
    const AVFrame* const sized = is_scaled ? scaler_.scale(frame, format, full_range, size) : &frame;
    if (sized == nullptr || !prepare({is_scaled ? AV_PIX_FMT_YUV420P : format,
                                      {sized->width, sized->height},
                                      matrix_of(frame),
                                      full_range})) {
        tell_unknown(frame.format);
        return {};
    }
    const auto rows = static_cast<std::size_t>(sized->height);
    const auto row_bytes = static_cast<std::size_t>(picture_pitch(sized->width));
    const bool is_whole = sized->width % 8 == 0;
    const std::size_t roomy_pitch =
        is_whole ? row_bytes : (row_bytes + group_bytes + row_alignment - 1) / row_alignment * row_alignment;
    roomy_.resize(roomy_pitch * rows + row_alignment);
    std::uint8_t* const planes[4]{roomy_.data(), nullptr, nullptr, nullptr};
    const int strides[4]{static_cast<int>(roomy_pitch), 0, 0, 0};
    if (sws_scale(colours_.get(), sized->data, sized->linesize, 0, sized->height, planes, strides) <= 0) {
        return {};
    }
    const int pitch = picture_pitch(size.width);
    const auto pitch_bytes = static_cast<std::size_t>(pitch);
    const auto height = static_cast<std::size_t>(size.height);
    // Rows only move towards the front, so that they can be packed in place.
    for (std::size_t row = 1; roomy_pitch != pitch_bytes && row < height; ++row) {
        std::memmove(roomy_.data() + row * pitch_bytes, roomy_.data() + row * roomy_pitch, pitch_bytes);
    }
    return {std::span{roomy_}.first(pitch_bytes * height), size, pitch, is_scaled ? sized : nullptr};
}

} // namespace velmora
