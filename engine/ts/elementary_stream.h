// What an entry of a PMT stands for (ISO/IEC 13818-1 table 2-34, ETSI EN 300 468, ETSI TS 101 154, MISB ST
// 1402).
#pragma once

extern "C" {
#include <libavcodec/codec_id.h>
}

#include <cstdint>
#include <span>

namespace velmora {

enum class StreamKind { video, audio, data, unknown };

/// One elementary stream of a programme.
struct ElementaryStream {
    std::uint16_t pid{0};
    StreamKind kind{StreamKind::unknown};
    AVCodecID codec{AV_CODEC_ID_NONE}; ///< MPEG audio of any layer is announced as AV_CODEC_ID_MP3
    int opus_channel_config{0}; ///< channel_config_code of the Opus descriptor; 0 = not Opus or not told
    std::uint8_t type{0};       ///< stream_type as in the PMT

    bool operator==(const ElementaryStream&) const = default;
};

/// @param stream_type as in the PMT
/// @param descriptors the ES_info descriptors
/// @param programme_format registered for the whole programme; 0 = none
ElementaryStream describe_elementary_stream(std::uint8_t stream_type, std::uint16_t pid,
                                            std::span<const std::uint8_t> descriptors,
                                            std::uint32_t programme_format = 0);

/// The format_identifier of the first registration descriptor; 0 = there is none.
std::uint32_t registered_format(std::span<const std::uint8_t> descriptors);

/// Whether an unknown stream may carry pictures, sound or data.
bool may_be_playable(const ElementaryStream& stream);

} // namespace velmora
