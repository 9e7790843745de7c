// What the statistics tell of a stream, wherever it comes from.
#pragma once

#include "media/picture_size.h"

#include <cstdint>

namespace velmora {

/// Properties of the stream as it was decoded last.
struct StreamFacts {
    PictureSize picture;           ///< shown last, square pixels
    std::int32_t frame_rate{0};    ///< pictures per second of the stream, measured
    std::int32_t bitrate{0};       ///< kbit/s over the last second of the stream
    std::int32_t video_codec{0};   ///< AVCodecID
    std::int32_t audio_codec{0};   ///< AVCodecID
    std::int32_t sample_rate{0};   ///< Hz
    std::int32_t audio_bitrate{0}; ///< kbit/s
    std::int32_t channels{0};
    std::int32_t bits_per_sample{0};
    std::int32_t data_codec{0};   ///< AVCodecID
    std::int32_t data_bitrate{0}; ///< kbit/s over the last second of the stream
};

/// Numbers that only grow until a reset.
struct StreamCounters {
    std::uint64_t decoded_pictures{0};
    std::uint64_t shown_pictures{0};
    std::uint64_t errors{0}; ///< of decoders and of the continuity counters
    std::uint64_t data_units{0};
};

/// What was counted since `baseline`.
StreamCounters operator-(const StreamCounters& counters, const StreamCounters& baseline);

/// What a poll reads of a stream.
struct StreamReport {
    StreamFacts facts;
    StreamCounters counters; ///< since the last reset
};

} // namespace velmora
