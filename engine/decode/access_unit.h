// The limits of access units in a video stream.
#pragma once

extern "C" {
#include <libavcodec/codec_id.h>
}

#include <cstdint>
#include <optional>
#include <span>

namespace velmora {

/// Whether these bytes look like one access unit: they begin with a start code and hold no second access unit
/// delimiter (ITU-T H.264 7.4.1.2.3, H.265 7.4.2.4.4) or, in MPEG-2, no picture behind a second field.
bool is_one_access_unit(AVCodecID codec, std::span<const std::uint8_t> bytes);

/// The first byte of the first slice's NAL unit in H.264 or HEVC; nothing when there is none.
std::optional<unsigned> first_slice_header(AVCodecID codec, std::span<const std::uint8_t> unit);

/// Whether the access unit behind `unit` may begin with `part`, which came behind it: it begins with a start
/// code, and `unit` has its picture or `part` a delimiter.
bool may_begin_next(AVCodecID codec, std::span<const std::uint8_t> unit, std::span<const std::uint8_t> part);

} // namespace velmora
