#include "decode/picture_classifier.h"

#include "decode/access_unit.h"

#include <cstddef>
#include <numeric>
#include <optional>

namespace velmora {

namespace {

/// Enough to know the structure of most streams; older pictures weigh less and less.
constexpr int enough_to_judge = 12;
constexpr int most_counted = 256;

bool is_disposable(AVCodecID codec, int picture_type, std::span<const std::uint8_t> unit) {
    if (codec != AV_CODEC_ID_H264 && codec != AV_CODEC_ID_HEVC) {
        return picture_type == AV_PICTURE_TYPE_B;
    }
    const auto header = first_slice_header(codec, unit);
    if (!header) {
        return false;
    }
    if (codec == AV_CODEC_ID_H264) {
        return (*header >> 5U & 3U) == 0; // nal_ref_idc, ITU-T H.264 7.4.1
    }
    const unsigned type = *header >> 1U & 0x3FU;
    return type < 16 && type % 2 == 0; // sub-layer non-reference, ITU-T H.265 7.4.2.2
}

} // namespace

PictureClass picture_class(AVCodecID codec, const AVCodecParserContext& parser,
                           std::span<const std::uint8_t> unit) {
    if (parser.key_frame == 1 || parser.pict_type == AV_PICTURE_TYPE_I) {
        return PictureClass::key;
    }
    if (is_disposable(codec, parser.pict_type, unit)) {
        return PictureClass::disposable;
    }
    return parser.pict_type == AV_PICTURE_TYPE_B ? PictureClass::two_way_reference : PictureClass::reference;
}

bool begins_anew(AVCodecID codec, std::span<const std::uint8_t> unit) {
    const auto header = first_slice_header(codec, unit);
    if (!header || (codec != AV_CODEC_ID_H264 && codec != AV_CODEC_ID_HEVC)) {
        return false;
    }
    if (codec == AV_CODEC_ID_H264) {
        return (*header & 0x1FU) == 5; // ITU-T H.264 table 7-1
    }
    const unsigned type = *header >> 1U & 0x3FU;
    return type == 19 || type == 20; // ITU-T H.265 table 7-1
}

bool is_skipped(PictureClass kind, AVDiscard skip) {
    switch (kind) {
    case PictureClass::key:
        return skip >= AVDISCARD_ALL;
    case PictureClass::reference:
        return skip >= AVDISCARD_NONKEY;
    case PictureClass::two_way_reference:
        return skip >= AVDISCARD_BIDIR;
    case PictureClass::disposable:
        return skip >= AVDISCARD_NONREF;
    }
    return false;
}

void PictureClassShares::count(PictureClass kind) {
    ++counts_[static_cast<std::size_t>(kind)];
    if (std::accumulate(counts_.begin(), counts_.end(), 0) >= most_counted) {
        for (int& count : counts_) {
            count /= 2;
        }
    }
}

double PictureClassShares::kept(AVDiscard skip) const {
    const int all = std::accumulate(counts_.begin(), counts_.end(), 0);
    if (all < enough_to_judge || skip < AVDISCARD_NONREF) {
        return 1.0;
    }
    int kept = 0;
    for (const auto kind : {PictureClass::key, PictureClass::reference, PictureClass::two_way_reference,
                            PictureClass::disposable}) {
        kept += is_skipped(kind, skip) ? 0 : counts_[static_cast<std::size_t>(kind)];
    }
    return static_cast<double>(kept) / all;
}

AVDiscard PictureClassShares::skip_for(double rate) const {
    for (const AVDiscard skip : {AVDISCARD_NONKEY, AVDISCARD_BIDIR, AVDISCARD_NONREF}) {
        if (rate > 1.0 && rate * kept(skip) >= 1.0 && kept(skip) < 1.0) {
            return skip;
        }
    }
    return AVDISCARD_DEFAULT;
}

} // namespace velmora
