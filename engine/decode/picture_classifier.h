// Tells what other pictures need a coded picture for: which ones can be dropped to play faster.
#pragma once

#include "media/picture_class.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <array>
#include <cstdint>
#include <span>

namespace velmora {

/// @param parser as it stands behind the unit
/// @param unit a whole access unit of H.264, HEVC or MPEG-2 video
PictureClass picture_class(AVCodecID codec, const AVCodecParserContext& parser,
                           std::span<const std::uint8_t> unit);

/// Whether no picture from this one on, in the order of decoding, needs one in front of it: H.264 and HEVC
/// tell by an IDR picture. False when it is not certain.
bool begins_anew(AVCodecID codec, std::span<const std::uint8_t> unit);

/// Whether decoding with this skip level drops pictures of the class.
bool is_skipped(PictureClass kind, AVDiscard skip);

/// Counts the classes of a stream's latest pictures.
class PictureClassShares {
public:
    void count(PictureClass kind);
    /// Share of the pictures that decoding with this skip level keeps, 0 to 1; 1 as long as little is known.
    double kept(AVDiscard skip) const;
    /// The level that leaves out most and still keeps a picture for each one due at `rate` times the stream's
    /// own pace.
    AVDiscard skip_for(double rate) const;

private:
    std::array<int, 4> counts_{};
};

} // namespace velmora
