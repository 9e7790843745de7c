// Finds random access points in elementary streams: the adaptation field's indicator is a hint at most.
#pragma once

extern "C" {
#include <libavcodec/codec_id.h>
}

#include <cstdint>
#include <span>

namespace velmora {

/// What the beginning of an access unit tells.
enum class AccessPointVerdict {
    undecided, ///< more bytes are needed
    none,      ///< decoding cannot begin here
    point      ///< decoding can begin here
};

struct AccessPointResult {
    AccessPointVerdict verdict{AccessPointVerdict::undecided};
    int recovery_frames{0}; ///< pictures until the output is right (H.264 recovery_frame_cnt); 0 = at once
};

/// Looks at the start of an access unit up to its first slice or picture header.
/// H.264: IDR slice or recovery point SEI (ITU-T H.264 7.4.1, D.2.8). HEVC: IRAP (ITU-T H.265 7.4.2.2).
/// MPEG-2: sequence header or I picture (ISO/IEC 13818-2, 6.2.2). MPEG-4 part 2: I-VOP. H.263: INTRA picture.
/// VC-1, AVS and Dirac: sequence header, or what else needs nothing in front of it. Other codecs: every unit.
/// @param bytes payload of the unit from its first byte on, as many as have arrived
/// @param is_whole no more bytes will come; the verdict is never undecided then
AccessPointResult find_access_point(AVCodecID codec, std::span<const std::uint8_t> bytes, bool is_whole);

} // namespace velmora
